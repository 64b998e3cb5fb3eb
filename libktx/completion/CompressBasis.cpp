// ktxTexture2_CompressBasis and ktxTexture2_CompressBasisEx, with the encoder of Basis Universal.

#include "BasisInput.h"
#include "BasisOutput.h"
#include "Guarded.h"
#include "Metadata.h"

#include <ktxint.h>

#include <texture2.h> // needs the one before it
#include <vkformat_enum.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace mvgeo
{
namespace
{
constexpr ktx_uint32_t kDefaultCompressionLevel = 2;
constexpr int kDefaultQualityLevel = 128;

ktx_uint32_t threadCount(const ktxBasisParams& params)
{
    // More threads than this only cost memory; a wild number would end the process.
    const ktx_uint32_t most = std::max(16U, std::thread::hardware_concurrency());
    return std::clamp(params.threadCount, 1U, most);
}

void setEtc1sParameters(const ktxBasisParams& params, basisu::basis_compressor_params& to)
{
    to.m_compression_level = static_cast<int>(std::min(params.compressionLevel, basisu::BASISU_MAX_COMPRESSION_LEVEL));
    if (params.maxEndpoints > 0 && params.maxSelectors > 0)
    {
        to.m_etc1s_max_endpoint_clusters = params.maxEndpoints;
        to.m_etc1s_max_selector_clusters = params.maxSelectors;
    }
    else
    {
        to.m_etc1s_quality_level =
            params.qualityLevel == 0 ? kDefaultQualityLevel : static_cast<int>(std::min(params.qualityLevel, 255U));
    }
    if (params.endpointRDOThreshold > 0) to.m_endpoint_rdo_thresh = params.endpointRDOThreshold;
    if (params.selectorRDOThreshold > 0) to.m_selector_rdo_thresh = params.selectorRDOThreshold;
    to.m_no_endpoint_rdo = params.noEndpointRDO || params.normalMap;
    to.m_no_selector_rdo = params.noSelectorRDO || params.normalMap;
}

void setUastcParameters(const ktxBasisParams& params, basisu::basis_compressor_params& to)
{
    to.m_pack_uastc_ldr_4x4_flags = params.uastcFlags;
    to.m_rdo_uastc_ldr_4x4 = params.uastcRDO;
    if (params.uastcRDOQualityScalar > 0) to.m_rdo_uastc_ldr_4x4_quality_scalar = params.uastcRDOQualityScalar;
    if (params.uastcRDODictSize > 0)
    {
        to.m_rdo_uastc_ldr_4x4_dict_size = static_cast<int>(std::min(params.uastcRDODictSize, 65536U));
    }
    if (params.uastcRDOMaxSmoothBlockErrorScale > 0)
    {
        to.m_rdo_uastc_ldr_4x4_max_smooth_block_error_scale = params.uastcRDOMaxSmoothBlockErrorScale;
    }
    if (params.uastcRDOMaxSmoothBlockStdDev > 0)
    {
        to.m_rdo_uastc_ldr_4x4_smooth_block_max_std_dev = params.uastcRDOMaxSmoothBlockStdDev;
    }
    to.m_rdo_uastc_ldr_4x4_favor_simpler_modes_in_rdo_mode = !params.uastcRDODontFavorSimplerModes;
    to.m_rdo_uastc_ldr_4x4_multithreading = !params.uastcRDONoMultithreading;
}

void setParameters(const ktxBasisParams& params, const BasisSwizzle& swizzle, bool srgb,
                   basisu::basis_compressor_params& to)
{
    to.m_uastc = params.uastc;
    to.m_status_output = params.verbose;
    to.m_perceptual = srgb;
    // The second of two channels must be there even if it happens to be 255 everywhere.
    to.m_force_alpha = swizzle.channels == BasisChannels::RedGreen;
    to.m_check_for_alpha = swizzle.channels == BasisChannels::Colour;
    to.m_multithreading = threadCount(params) > 1;
    to.m_mip_gen = false;
    // Levels are given as images: the encoder's own idea of levels has no place for those of a 3-D texture.
    to.m_tex_type = basist::cBASISTexType2D;
    setEtc1sParameters(params, to);
    setUastcParameters(params, to);
}

// The encoder is built without SSE code: a texture's wish to do without it needs nothing.
ktx_error_code_e encode(const basisu::basis_compressor_params& params, basisu::basis_compressor& compressor)
{
    if (!compressor.init(params)) return KTX_INVALID_OPERATION;
    switch (compressor.process())
    {
    case basisu::basis_compressor::cECSuccess:
        return KTX_SUCCESS;
    case basisu::basis_compressor::cECFailedCreateBasisFile:
        return KTX_FILE_OVERFLOW;
    case basisu::basis_compressor::cECFailedReadingSourceImages:
    case basisu::basis_compressor::cECFailedValidating:
        return KTX_INVALID_OPERATION;
    default:
        return KTX_OUT_OF_MEMORY;
    }
}

std::vector<std::size_t> imagesPerLevel(const ktxTexture2& texture)
{
    std::vector<std::size_t> counts;
    for (ktx_uint32_t level = 0; level < texture.numLevels; ++level)
    {
        const ktx_uint32_t perLayer = texture.isCubemap ? texture.numFaces : std::max(1U, texture.baseDepth >> level);
        counts.push_back(std::size_t(texture.numLayers) * perLayer);
    }
    return counts;
}

/** Channel numbers of the data format descriptor; one for each sample. */
std::vector<ktx_uint32_t> sampleChannels(bool uastc, BasisChannels channels, bool hasAlpha)
{
    if (uastc)
    {
        if (channels == BasisChannels::Red) return {KHR_DF_CHANNEL_UASTC_RRR};
        if (channels == BasisChannels::RedGreen) return {KHR_DF_CHANNEL_UASTC_RRRG};
        return {hasAlpha ? KHR_DF_CHANNEL_UASTC_RGBA : KHR_DF_CHANNEL_UASTC_RGB};
    }
    if (channels == BasisChannels::Red) return {KHR_DF_CHANNEL_ETC1S_RRR};
    if (channels == BasisChannels::RedGreen) return {KHR_DF_CHANNEL_ETC1S_RRR, KHR_DF_CHANNEL_ETC1S_GGG};
    if (hasAlpha) return {KHR_DF_CHANNEL_ETC1S_RGB, KHR_DF_CHANNEL_ETC1S_AAA};
    return {KHR_DF_CHANNEL_ETC1S_RGB};
}

/** Blocks of 4 x 4 texels; primaries, transfer function and premultiplication stay what they were. */
std::vector<ktx_uint32_t> compressedDfd(const ktx_uint32_t* before, bool uastc,
                                        const std::vector<ktx_uint32_t>& channels)
{
    const auto samples = static_cast<ktx_uint32_t>(channels.size());
    const ktx_uint32_t bitsOfSample = uastc ? 128 : 64;
    const ktx_uint32_t blockSize = 24 + 16 * samples;
    std::vector<ktx_uint32_t> dfd(1 + blockSize / 4, 0);
    dfd[0] = 4 + blockSize;
    ktx_uint32_t* const block = dfd.data() + 1;
    std::memcpy(block, before + 1, 3 * sizeof(ktx_uint32_t));
    KHR_DFDSETVAL(block, DESCRIPTORBLOCKSIZE, blockSize);
    KHR_DFDSETVAL(block, MODEL, (uastc ? KHR_DF_MODEL_UASTC : KHR_DF_MODEL_ETC1S));
    KHR_DFDSETVAL(block, TEXELBLOCKDIMENSION0, 3);
    KHR_DFDSETVAL(block, TEXELBLOCKDIMENSION1, 3);
    KHR_DFDSETVAL(block, BYTESPLANE0, bitsOfSample / 8);
    if (samples > 1) KHR_DFDSETVAL(block, BYTESPLANE1, bitsOfSample / 8);
    for (ktx_uint32_t sample = 0; sample < samples; ++sample)
    {
        KHR_DFDSETSVAL(block, sample, BITOFFSET, sample * bitsOfSample);
        KHR_DFDSETSVAL(block, sample, BITLENGTH, bitsOfSample - 1);
        KHR_DFDSETSVAL(block, sample, CHANNELID, channels[sample]);
        KHR_DFDSETSVAL(block, sample, SAMPLEUPPER, 0xFFFFFFFFU);
    }
    return dfd;
}

void becomeCompressed(ktxTexture2& texture, ktx_uint32_t* dfd)
{
    std::free(texture.pDfd);
    texture.pDfd = dfd;
    texture.vkFormat = VK_FORMAT_UNDEFINED;
    texture.isCompressed = KTX_TRUE;
    texture._protected->_typeSize = 1;
    ktxFormatSize_initFromDfd(&texture._protected->_formatSize, texture.pDfd);
}

ktx_error_code_e compress(ktxTexture2& texture, const ktxBasisParams& params)
{
    BasisSwizzle swizzle;
    ktx_error_code_e result = chooseBasisSwizzle(texture, params, swizzle);
    if (result != KTX_SUCCESS) return result;
    result = loadImageData(*ktxTexture(&texture));
    if (result != KTX_SUCCESS) return result;

    basisu::basisu_encoder_init(); // does nothing after the first time, under its own lock
    basisu::job_pool threads(threadCount(params));
    basisu::basis_compressor_params encoderParams;
    encoderParams.m_source_images = basisImages(texture, swizzle);
    encoderParams.m_pJob_pool = &threads;
    setParameters(params, swizzle, KHR_DFDVAL(texture.pDfd + 1, TRANSFER) == KHR_DF_TRANSFER_SRGB, encoderParams);
    basisu::basis_compressor compressor;
    result = encode(encoderParams, compressor);
    if (result != KTX_SUCCESS) return result;

    const LevelData data = levelDataOf(compressor.get_output_basis_file(), imagesPerLevel(texture));
    const std::vector<ktx_uint32_t> dfd =
        compressedDfd(texture.pDfd, params.uastc,
                      sampleChannels(params.uastc, swizzle.channels, compressor.get_any_source_image_has_alpha()));
    auto* const ownDfd = static_cast<ktx_uint32_t*>(std::malloc(dfd[0]));
    if (!ownDfd) return KTX_OUT_OF_MEMORY;
    std::memcpy(ownDfd, dfd.data(), dfd[0]);
    result = replaceLevels(texture, data);
    if (result != KTX_SUCCESS)
    {
        std::free(ownDfd);
        return result;
    }
    becomeCompressed(texture, ownDfd);
    if (params.preSwizzle) removePair(texture.kvDataHead, KTX_SWIZZLE_KEY);
    return KTX_SUCCESS;
}
} // namespace
} // namespace mvgeo

extern "C"
{
    const ktx_uint32_t KTX_ETC1S_DEFAULT_COMPRESSION_LEVEL = mvgeo::kDefaultCompressionLevel;

    KTX_error_code ktxTexture2_CompressBasisEx(ktxTexture2* This, ktxBasisParams* params)
    {
        if (!This || !params || params->structSize != sizeof(ktxBasisParams)) return KTX_INVALID_VALUE;
        return mvgeo::guarded([&] { return mvgeo::compress(*This, *params); });
    }

    KTX_error_code ktxTexture2_CompressBasis(ktxTexture2* This, ktx_uint32_t quality)
    {
        ktxBasisParams params = {};
        params.structSize = sizeof(params);
        params.threadCount = 1;
        params.compressionLevel = KTX_ETC1S_DEFAULT_COMPRESSION_LEVEL;
        params.qualityLevel = quality;
        return ktxTexture2_CompressBasisEx(This, &params);
    }
}
