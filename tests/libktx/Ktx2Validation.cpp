#include "Ktx2Validation.h"

#include "Ktx2FormatFacts.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace mvgeo
{
namespace
{
constexpr unsigned char kIdentifier[12] = {0xAB, 'K', 'T', 'X', ' ', '2', '0', 0xBB, '\r', '\n', 0x1A, '\n'};
constexpr std::uint64_t kHeaderSize = 80;
constexpr std::uint64_t kLevelEntrySize = 24;
constexpr std::uint64_t kImageDescriptionSize = 20;
constexpr std::uint32_t kModelEtc1s = 163;
constexpr std::uint32_t kModelUastc = 166;

constexpr std::uint32_t kNone = 0, kBasisLz = 1, kZlib = 3; // schemes of supercompression

struct Fault : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

void require(bool condition, const std::string& fault)
{
    if (!condition) throw Fault(fault);
}

std::uint64_t alignedUp(std::uint64_t offset, std::uint64_t alignment)
{
    return (offset + alignment - 1) / alignment * alignment;
}

struct Level
{
    std::uint64_t offset;
    std::uint64_t size;
    std::uint64_t uncompressedSize;
};

class Ktx2File
{
public:
    Ktx2File(const unsigned char* bytes, std::size_t size) : _bytes(bytes), _size(size) {}

    void check()
    {
        checkHeader();
        checkShape();
        checkDfd();
        std::uint64_t end = checkKeyValues();
        end = checkGlobalData(end);
        checkLevels(end);
    }

private:
    std::uint32_t word(std::uint64_t offset) const
    {
        require(offset + 4 <= _size, "the file ends too early");
        std::uint32_t value = 0;
        for (unsigned i = 4; i-- > 0;)
            value = value << 8 | _bytes[offset + i];
        return value;
    }
    std::uint64_t longWord(std::uint64_t offset) const { return word(offset) | std::uint64_t(word(offset + 4)) << 32; }

    void checkHeader()
    {
        require(_size >= kHeaderSize, "the file is shorter than its header");
        require(std::memcmp(_bytes, kIdentifier, sizeof(kIdentifier)) == 0, "the identifier is wrong");
        _vkFormat = word(12);
        _typeSize = word(16);
        _width = word(20);
        _height = word(24);
        _depth = word(28);
        _layerCount = word(32);
        _faceCount = word(36);
        _levelCount = word(40);
        _scheme = word(44);
        // The core formats and the range of the extensions that add some.
        require(_vkFormat <= 184 || (_vkFormat >= 1000054000 && _vkFormat < 1001000000), "the format is unknown");
        require(!isProhibitedInKtx2(_vkFormat), "KTX 2 does not allow the format");
        require(_scheme <= kZlib, "the supercompression scheme is unknown");
        _facts = ktx2FormatFacts(_vkFormat);
        require(!_facts || _typeSize == _facts->typeSize, "typeSize is wrong for the format");
        require(_vkFormat != 0 || _typeSize == 1, "typeSize must be 1 without a format");
        require(_scheme != kBasisLz || _vkFormat == 0, "BasisLZ goes with no Vulkan format");
    }

    void checkShape() const
    {
        require(_width > 0, "the width is 0");
        require(_depth == 0 || _height > 0, "there is a depth without a height");
        require(_faceCount == 1 || _faceCount == 6, "the number of faces is neither 1 nor 6");
        require(_faceCount == 1 || (_width == _height && _depth == 0), "the faces of a cube are not square");
        require(_depth == 0 || _layerCount == 0, "a 3-D array cannot be used");
        require(_depth == 0 || !_facts || !_facts->isDepthOrStencil, "depth or stencil has no 3-D texture");
        const std::uint32_t largest = std::max({_width, _height, _depth});
        require(levels() <= 32 && (std::uint64_t(1) << (levels() - 1)) <= largest, "there are too many levels");
    }

    std::uint32_t levels() const { return std::max(1U, _levelCount); }
    std::uint32_t layers() const { return std::max(1U, _layerCount); }
    std::uint32_t at(std::uint32_t size, std::uint32_t level) const { return std::max(1U, size >> level); }

    Level level(std::uint32_t index) const
    {
        const std::uint64_t entry = kHeaderSize + kLevelEntrySize * index;
        return {longWord(entry), longWord(entry + 8), longWord(entry + 16)};
    }

    // The data format descriptor.

    void checkDfd()
    {
        const std::uint64_t offset = word(48);
        const std::uint32_t size = word(52);
        require(offset == kHeaderSize + kLevelEntrySize * levels(), "the descriptor does not follow the level index");
        require(offset + size <= _size && size >= 28 + 16, "the descriptor's size is wrong");
        require(word(offset) == size, "the descriptor's total size is not that of the header");
        const std::uint64_t block = offset + 4;
        const std::uint32_t samples = (size - 28) / 16;
        require(size == 28 + 16 * samples, "the descriptor has no whole number of samples");
        require(word(block) == 0, "the descriptor is not a basic one");
        require(word(block + 4) == (2 | (size - 4) << 16), "the descriptor's version or block size is wrong");
        _model = word(block + 8) & 0xFF;
        const std::uint32_t primaries = word(block + 8) >> 8 & 0xFF;
        const std::uint32_t transfer = word(block + 8) >> 16 & 0xFF;
        require(primaries <= 10 && transfer <= 20 && word(block + 8) >> 24 <= 1,
                "primaries, transfer or flags are unknown");
        if (_facts)
            checkAgainstFacts(block, samples, transfer);
        else if (_vkFormat == 0)
            checkUniversal(block, samples, transfer);
        _dfdEnd = offset + size;
    }

    void checkAgainstFacts(std::uint64_t block, std::uint32_t samples, std::uint32_t transfer)
    {
        require(_model == _facts->model, "the colour model is not the format's");
        require(word(block + 12) == ((_facts->blockWidth - 1) | (_facts->blockHeight - 1) << 8),
                "the texel block's dimensions are not the format's");
        checkPlanes(block, _facts->blockBytes, 0);
        require(!_facts->srgb || transfer == 2, "an sRGB format needs the sRGB transfer function");
        require(!_facts->hasSrgbTwin || transfer != 2, "a linear format cannot have the sRGB transfer function");
        require(samples == _facts->samples.size(), "the number of samples is not the format's");
        for (std::uint32_t i = 0; i < samples; ++i)
            require(sampleAt(block, i) == _facts->samples[i], "sample " + std::to_string(i) + " is not the format's");
        _blockWidth = _facts->blockWidth;
        _blockHeight = _facts->blockHeight;
        _blockBytes = _facts->blockBytes;
        _leastBlocks = _facts->leastBlocks;
    }

    void checkUniversal(std::uint64_t block, std::uint32_t samples, std::uint32_t transfer)
    {
        require(_model == kModelEtc1s || _model == kModelUastc, "without a format the colour model must be universal");
        require((_model == kModelEtc1s) == (_scheme == kBasisLz), "ETC1S goes with BasisLZ and nothing else");
        require(transfer == 1 || transfer == 2, "the transfer function is neither linear nor sRGB");
        require(word(block + 12) == 0x303, "the texel block is not 4 x 4");
        require(samples == 1 || (samples == 2 && _model == kModelEtc1s), "the number of samples is wrong");
        const unsigned bits = _model == kModelEtc1s ? 64 : 128;
        checkPlanes(block, bits / 8, samples > 1 ? bits / 8 : 0);
        std::vector<unsigned> channels;
        for (std::uint32_t i = 0; i < samples; ++i)
        {
            const Ktx2Sample sample = sampleAt(block, i);
            require(sample == Ktx2Sample{i * bits, bits, sample.channel, 0, 0xFFFFFFFF},
                    "a sample of the universal format is wrong");
            channels.push_back(sample.channel);
        }
        static const std::vector<std::vector<unsigned>> etc1s = {{0}, {3}, {0, 15}, {3, 4}};
        static const std::vector<std::vector<unsigned>> uastc = {{0}, {3}, {4}, {5}, {6}};
        const auto& allowed = _model == kModelEtc1s ? etc1s : uastc;
        require(std::find(allowed.begin(), allowed.end(), channels) != allowed.end(),
                "the channels of the universal format are wrong");
        _alphaSlices = samples == 2;
        _blockWidth = _blockHeight = 4;
        _blockBytes = 16;
    }

    /** All zero was the way to say "supercompressed" before. */
    void checkPlanes(std::uint64_t block, std::uint32_t first, std::uint32_t second) const
    {
        require(word(block + 20) == 0, "planes 4 to 7 are not 0");
        const std::uint32_t planes = word(block + 16);
        require(planes == (first | second << 8) || (planes == 0 && _scheme != kNone), "the bytes of a plane are wrong");
    }

    Ktx2Sample sampleAt(std::uint64_t block, std::uint32_t index) const
    {
        const std::uint64_t sample = block + 24 + 16 * std::uint64_t(index);
        require(word(sample + 4) == 0, "a sample is not at the texel's origin");
        const std::uint32_t first = word(sample);
        return {first & 0xFFFF, (first >> 16 & 0xFF) + 1, first >> 24, word(sample + 8), word(sample + 12)};
    }

    // Key/value data.

    std::uint64_t checkKeyValues() const
    {
        const std::uint64_t offset = word(56);
        const std::uint64_t size = word(60);
        require(size > 0, "there is no key/value data, so no KTXwriter");
        require(offset == _dfdEnd, "the key/value data does not follow the descriptor");
        require(offset + size <= _size, "the key/value data does not fit into the file");
        std::string previous;
        bool writer = false;
        for (std::uint64_t entry = offset; entry < offset + size;)
        {
            const std::uint64_t length = word(entry);
            const std::uint64_t next = entry + 4 + alignedUp(length, 4);
            require(length >= 2 && next <= offset + size, "a key/value pair does not fit");
            requireZeros(entry + 4 + length, next, "a key/value pair's padding");
            const std::string pair(reinterpret_cast<const char*>(_bytes) + entry + 4, length);
            const std::string key = pair.substr(0, pair.find('\0'));
            require(key.size() < pair.size() && !key.empty(), "a key is empty or without its end");
            require(previous < key, "the keys are not sorted, or one is there twice");
            checkValue(key, pair.substr(key.size() + 1));
            writer = writer || key == "KTXwriter";
            previous = key;
            entry = next;
        }
        require(writer, "KTXwriter is missing");
        return offset + size;
    }

    void checkValue(const std::string& key, const std::string& value) const
    {
        if (key.compare(0, 3, "KTX") != 0 && key.compare(0, 3, "ktx") != 0) return;
        static const std::set<std::string> known{
            "KTXcubemapIncomplete", "KTXorientation", "KTXglFormat",       "KTXdxgiFormat__",   "KTXmetalPixelFormat",
            "KTXswizzle",           "KTXwriter",      "KTXwriterScParams", "KTXastcDecodeMode", "KTXanimData"};
        require(known.count(key) > 0, "the key " + key + " is reserved and unknown");
        const bool text =
            key == "KTXorientation" || key == "KTXswizzle" || key == "KTXwriter" || key == "KTXwriterScParams";
        if (!text) return;
        require(!value.empty() && value.find('\0') == value.size() - 1,
                "the value of " + key + " does not end with NUL");
        const std::string letters = value.substr(0, value.size() - 1);
        require(key != "KTXorientation" || isOrientation(letters), "KTXorientation is wrong");
        require(key != "KTXswizzle" || (letters.size() == 4 && letters.find_first_not_of("rgba01") == letters.npos),
                "KTXswizzle is wrong");
        require(!letters.empty(), "the value of " + key + " is empty");
    }

    /** One letter of two for each dimension. */
    bool isOrientation(const std::string& letters) const
    {
        static const std::string choices[] = {"rl", "du", "oi"};
        const std::size_t dimensions = _depth > 0 ? 3 : _height > 0 ? 2 : 1;
        if (letters.size() != dimensions) return false;
        for (std::size_t i = 0; i < dimensions; ++i)
            if (choices[i].find(letters[i]) == std::string::npos) return false;
        return true;
    }

    void requireZeros(std::uint64_t begin, std::uint64_t end, const std::string& what) const
    {
        require(end <= _size, "the file ends too early");
        require(std::all_of(_bytes + begin, _bytes + end, [](unsigned char byte) { return byte == 0; }),
                what + " is not zero");
    }

    // Global data of BasisLZ.

    std::uint64_t checkGlobalData(std::uint64_t end) const
    {
        const std::uint64_t offset = longWord(64);
        const std::uint64_t size = longWord(72);
        require((size > 0) == (_scheme == kBasisLz), "only BasisLZ has global data, and must have it");
        require(size > 0 || offset == 0, "there is an offset without global data");
        if (size == 0) return end;
        require(offset == alignedUp(end, 8), "the global data is not at the next multiple of 8");
        require(size >= 20 && size <= _size - offset, "the global data does not fit into the file");
        requireZeros(end, offset, "the padding before the global data");
        checkBasisLz(offset, size);
        return offset + size;
    }

    std::uint64_t imagesAt(std::uint32_t level) const
    {
        return std::uint64_t(layers()) * _faceCount * at(_depth, level);
    }

    void checkBasisLz(std::uint64_t offset, std::uint64_t size) const
    {
        require((word(offset) & 0xFFFF) > 0 && word(offset) >> 16 > 0, "a codebook is empty");
        const std::uint64_t books =
            std::uint64_t(word(offset + 4)) + word(offset + 8) + word(offset + 12) + word(offset + 16);
        std::uint64_t description = offset + 20;
        for (std::uint32_t index = 0; index < levels(); ++index)
        {
            for (std::uint64_t image = 0; image < imagesAt(index); ++image)
            {
                checkSlices(description, level(index).size);
                description += kImageDescriptionSize;
            }
        }
        require(description - offset + books == size, "the parts of the global data do not add up");
    }

    void checkSlices(std::uint64_t description, std::uint64_t levelSize) const
    {
        const std::uint64_t colourSize = word(description + 8);
        const std::uint64_t alphaSize = word(description + 16);
        require(word(description) == 0, "an image builds on another, but this is no video");
        require(colourSize > 0 && word(description + 4) + colourSize <= levelSize, "a slice lies outside its level");
        require((alphaSize > 0) == _alphaSlices, "alpha slices do not agree with the samples");
        require(alphaSize > 0 || word(description + 12) == 0, "there is an offset without an alpha slice");
        require(word(description + 12) + alphaSize <= levelSize, "an alpha slice lies outside its level");
    }

    // Levels.

    std::uint64_t levelSize(std::uint32_t index) const
    {
        const std::uint64_t columns = (at(_width, index) + _blockWidth - 1) / _blockWidth;
        const std::uint64_t rows = (at(_height, index) + _blockHeight - 1) / _blockHeight;
        return std::max(columns, _leastBlocks) * std::max(rows, _leastBlocks) * _blockBytes * imagesAt(index);
    }

    void checkLevels(std::uint64_t end) const
    {
        const bool ofBlocks = _vkFormat == 0 || (_facts && _facts->model != 1);
        require(!ofBlocks || _height > 0, "blocks need a height");
        require(!ofBlocks || _levelCount > 0, "levels of blocks cannot be made by the reader");
        const std::uint64_t alignment =
            _scheme == kNone && _blockBytes > 0 ? std::lcm(_blockBytes, std::uint64_t(4)) : 1;
        for (std::uint32_t index = levels(); index-- > 0;)
        {
            const Level entry = level(index);
            const std::string name = "level " + std::to_string(index);
            require(_blockBytes == 0 || entry.offset == alignedUp(end, alignment), name + " is not where it must be");
            require(entry.offset >= end && entry.offset <= _size && entry.size <= _size - entry.offset,
                    name + " does not fit into the file");
            requireZeros(end, entry.offset, "the padding before " + name);
            checkSizes(index, entry, name);
            end = entry.offset + entry.size;
        }
        require(end == _size, "there is something behind the last level");
    }

    void checkSizes(std::uint32_t index, const Level& entry, const std::string& name) const
    {
        require(entry.size > 0, name + " is empty");
        require(_scheme != kBasisLz || entry.uncompressedSize == 0,
                name + " of BasisLZ must have an uncompressed size of 0");
        if (_scheme == kBasisLz || _blockBytes == 0) return;
        require(entry.uncompressedSize == levelSize(index), name + " has the wrong uncompressed size");
        require(_scheme != kNone || entry.size == entry.uncompressedSize, name + " has two sizes");
    }

    const unsigned char* _bytes;
    std::size_t _size;
    std::uint32_t _vkFormat = 0;
    std::uint32_t _typeSize = 0;
    std::uint32_t _width = 0;
    std::uint32_t _height = 0;
    std::uint32_t _depth = 0;
    std::uint32_t _layerCount = 0;
    std::uint32_t _faceCount = 0;
    std::uint32_t _levelCount = 0;
    std::uint32_t _scheme = 0;
    std::optional<Ktx2FormatFacts> _facts;
    std::uint32_t _model = 0;
    bool _alphaSlices = false;
    std::uint64_t _blockWidth = 1;
    std::uint64_t _blockHeight = 1;
    std::uint64_t _blockBytes = 0; // 0: unknown
    std::uint64_t _leastBlocks = 1;
    std::uint64_t _dfdEnd = 0;
};
} // namespace

std::string ktx2Violation(const unsigned char* bytes, std::size_t size)
{
    try
    {
        Ktx2File(bytes, size).check();
        return {};
    }
    catch (const Fault& fault)
    {
        return fault.what();
    }
}
} // namespace mvgeo
