#include "platform/Sha256.h"

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <vector>

#if !defined(_WIN32)
#include <openssl/evp.h>
#endif

namespace
{

using namespace mvgeo::platform;

std::string hex(const std::optional<Sha256Digest>& digest)
{
    if (!digest) return "no digest";
    std::string text;
    for (const unsigned char byte : *digest)
    {
        text += "0123456789abcdef"[byte / 16];
        text += "0123456789abcdef"[byte % 16];
    }
    return text;
}

std::string sha256Hex(const std::string& bytes)
{
    return hex(sha256(bytes.data(), bytes.size()));
}

// The digests that the standard publishes as its examples.
TEST(Sha256, OfAbc)
{
    EXPECT_EQ(sha256Hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Sha256, OfTwoBlocks)
{
    EXPECT_EQ(sha256Hex("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
}

TEST(Sha256, OfAMillionTimesA)
{
    EXPECT_EQ(sha256Hex(std::string(1000000, 'a')), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256, OfNothing)
{
    const char* const kDigest = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
    EXPECT_EQ(sha256Hex(""), kDigest);
    EXPECT_EQ(hex(sha256(nullptr, 0)), kDigest);
}

TEST(Sha256, ThreadsDoNotDisturbEachOther)
{
    std::vector<std::future<std::string>> digests;
    for (int i = 0; i < 4; ++i)
        digests.push_back(std::async(std::launch::async,
                                     []
                                     {
                                         std::string last;
                                         for (int turn = 0; turn < 100; ++turn)
                                             last = sha256Hex("abc");
                                         return last;
                                     }));
    for (auto& digest : digests)
        EXPECT_EQ(digest.get(), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Sha256, NamesTheHashingStepWhenTheBytesAreMissing)
{
    testing::internal::CaptureStderr();
    const auto digest = sha256(nullptr, 3);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: CryptHashData failed\n");
    EXPECT_EQ(digest, std::nullopt);
}

TEST(Sha256, NamesTheStepWhenTheSystemHasNoSuchHash)
{
#if defined(_WIN32)
    GTEST_SKIP() << "the system's hash cannot be switched off";
#else
    ASSERT_EQ(EVP_set_default_properties(nullptr, "provider=none"), 1);
    testing::internal::CaptureStderr();
    const auto digest = sha256("abc", 3);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: CryptCreateHash failed\n");
    EXPECT_EQ(digest, std::nullopt);
    ASSERT_EQ(EVP_set_default_properties(nullptr, ""), 1);
    EXPECT_EQ(sha256Hex("abc").substr(0, 8), "ba7816bf"); // and the next call works again
#endif
}

} // namespace
