#pragma once

#include <KdGiGeoMeshImage.h>

#include <string>
#include <utility>
#include <vector>

/** A 4 x 2 RGB texture that counts what is done with it. */
struct TextureCounts
{
    int asked = 0; ///< for pixels
    int deleted = 0;
};

class FakeTexture : public KdGiGeoMeshImage
{
public:
    FakeTexture(std::string key, TextureCounts& counts, bool hasPixels = true)
        : _key(std::move(key)), _counts(counts), _pixels(hasPixels ? 4 * 2 * 3 : 0)
    {
    }
    ~FakeTexture() override { ++_counts.deleted; }

    const std::string& key() const override { return _key; }
    bool imageData(unsigned int& width, unsigned int& height, unsigned int& dataType, unsigned int& pixelFormat,
                   unsigned int& internalFormat, unsigned char*& data) override
    {
        ++_counts.asked;
        if (_pixels.empty()) return false;
        width = 4;
        height = 2;
        dataType = 0x1401;                     // GL_UNSIGNED_BYTE
        pixelFormat = internalFormat = 0x1907; // GL_RGB
        data = _pixels.data();
        return true;
    }
    void releaseImage() override { _pixels.clear(); }

private:
    std::string _key;
    TextureCounts& _counts;
    std::vector<unsigned char> _pixels;
};
