#include "BasisOutput.h"

#include <transcoder/basisu_file_headers.h>

#include <stdexcept>

namespace mvgeo
{
namespace
{
constexpr std::size_t kUastcBlockSize = 16;

/** An image's slices, as global data lists them: offsets count from the beginning of the level. */
struct ImageSlices
{
    std::size_t colourOffset = 0;
    std::size_t colourSize = 0;
    std::size_t alphaOffset = 0;
    std::size_t alphaSize = 0;
};

/** The encoder's own file. It was written a moment ago by code in this process, so its offsets are not doubted beyond
 * what keeps a mistake from reading past the end. */
class BasisFile
{
public:
    explicit BasisFile(const basisu::uint8_vec& bytes) : _bytes(bytes) {}

    const basist::basis_file_header& header() const
    {
        return *reinterpret_cast<const basist::basis_file_header*>(at(0, sizeof(basist::basis_file_header)));
    }
    const basist::basis_slice_desc& slice(std::size_t index) const
    {
        const std::size_t offset = header().m_slice_desc_file_ofs + index * sizeof(basist::basis_slice_desc);
        return *reinterpret_cast<const basist::basis_slice_desc*>(at(offset, sizeof(basist::basis_slice_desc)));
    }
    std::size_t sliceCount() const { return header().m_total_slices; }
    bool isEtc1s() const
    {
        return static_cast<basist::basis_tex_format>(static_cast<int>(header().m_tex_format)) ==
               basist::basis_tex_format::cETC1S;
    }

    void append(Bytes& to, std::size_t offset, std::size_t size) const
    {
        const unsigned char* const begin = at(offset, size);
        to.insert(to.end(), begin, begin + size);
    }

private:
    const unsigned char* at(std::size_t offset, std::size_t size) const
    {
        if (offset > _bytes.size() || size > _bytes.size() - offset) throw std::out_of_range("Basis file");
        return _bytes.data() + offset;
    }

    const basisu::uint8_vec& _bytes;
};

/** Appends the image's slices to its level; nextSlice is behind them afterwards. */
ImageSlices appendImage(const BasisFile& file, std::size_t image, std::size_t& nextSlice, Bytes& level)
{
    ImageSlices slices;
    for (; nextSlice < file.sliceCount() && file.slice(nextSlice).m_image_index == image; ++nextSlice)
    {
        const basist::basis_slice_desc& slice = file.slice(nextSlice);
        // In ETC1S alpha is a slice of its own; in UASTC the flag says that the one slice has it.
        const bool alphaSlice = file.isEtc1s() && (slice.m_flags & basist::cSliceDescFlagsHasAlpha) != 0;
        (alphaSlice ? slices.alphaOffset : slices.colourOffset) = level.size();
        (alphaSlice ? slices.alphaSize : slices.colourSize) = slice.m_file_size;
        file.append(level, slice.m_file_ofs, slice.m_file_size);
    }
    return slices;
}

void appendSlices(Bytes& global, const ImageSlices& slices)
{
    append(global, 4, 0); // flags: not a frame of a video that builds on the one before
    append(global, 4, slices.colourOffset);
    append(global, 4, slices.colourSize);
    append(global, 4, slices.alphaOffset);
    append(global, 4, slices.alphaSize);
}

/** The codebooks that all images of an ETC1S texture share, and where each image's slices are. */
Bytes globalData(const BasisFile& file, const std::vector<ImageSlices>& images)
{
    const basist::basis_file_header& header = file.header();
    Bytes global;
    append(global, 2, header.m_total_endpoints);
    append(global, 2, header.m_total_selectors);
    append(global, 4, header.m_endpoint_cb_file_size);
    append(global, 4, header.m_selector_cb_file_size);
    append(global, 4, header.m_tables_file_size);
    append(global, 4, 0); // no extended data
    for (const ImageSlices& slices : images)
        appendSlices(global, slices);
    file.append(global, header.m_endpoint_cb_file_ofs, header.m_endpoint_cb_file_size);
    file.append(global, header.m_selector_cb_file_ofs, header.m_selector_cb_file_size);
    file.append(global, header.m_tables_file_ofs, header.m_tables_file_size);
    return global;
}
} // namespace

LevelData levelDataOf(const basisu::uint8_vec& basisFile, const std::vector<std::size_t>& imagesPerLevel)
{
    const BasisFile file(basisFile);
    LevelData data;
    std::vector<ImageSlices> images;
    std::size_t nextSlice = 0;
    for (const std::size_t imageCount : imagesPerLevel)
    {
        Bytes level;
        for (std::size_t image = 0; image < imageCount; ++image)
        {
            images.push_back(appendImage(file, images.size(), nextSlice, level));
        }
        data.uncompressedSizes.push_back(file.isEtc1s() ? 0 : level.size());
        data.levels.push_back(std::move(level));
    }
    if (file.isEtc1s())
    {
        data.scheme = KTX_SS_BASIS_LZ;
        data.globalData = globalData(file, images);
    }
    else
    {
        data.alignment = kUastcBlockSize;
    }
    return data;
}
} // namespace mvgeo
