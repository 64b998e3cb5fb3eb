// ktxTexture2_CompressBasisEx, with the encoder of Basis Universal.

#include "BasisInput.h"
#include "BasisOutput.h"
#include "Guarded.h"

#include <ktxint.h>

#include <texture2.h> // needs the one before it
#include <vkformat_enum.h>

#include <algorithm>
#include <cstring>
#include <thread>

namespace mvgeo
{
namespace
{
/** Only what ReaderWriterKTX asks for is done; what else would change the result is refused rather than passed over. */
bool isSupported(const ktxBasisParams& params)
{
    const bool areChannelsChanged = params.inputSwizzle[0] != 0 || params.preSwizzle || params.normalMap;
    const bool isEtc1sTuned = params.maxEndpoints > 0 || params.maxSelectors > 0 || params.endpointRDOThreshold > 0 ||
                              params.selectorRDOThreshold > 0 || params.noEndpointRDO || params.noSelectorRDO;
    return !areChannelsChanged && !isEtc1sTuned && !params.uastcRDO && params.uastcFlags == 0;
}

ktx_uint32_t threadCount(const ktxBasisParams& params)
{
    // More threads than this only cost memory; a wild number would end the process.
    const ktx_uint32_t most = std::max(16U, std::thread::hardware_concurrency());
    return std::clamp(params.threadCount, 1U, most);
}

void setParameters(const ktxBasisParams& params, int channels, bool isSrgb, basisu::basis_compressor_params& to)
{
    to.m_uastc = params.uastc;
    to.m_pack_uastc_ldr_4x4_flags = params.uastcFlags;
    to.m_compression_level = static_cast<int>(std::min(params.compressionLevel, basisu::BASISU_MAX_COMPRESSION_LEVEL));
    to.m_etc1s_quality_level = static_cast<int>(std::clamp(params.qualityLevel, 1U, 255U));
    to.m_status_output = params.verbose;
    to.m_perceptual = isSrgb;
    // The second of two channels must be there even if it happens to be 255 everywhere.
    to.m_force_alpha = channels == 2;
    to.m_check_for_alpha = channels > 2;
    to.m_multithreading = threadCount(params) > 1;
    to.m_mip_gen = false;
    // Levels are given as images: the encoder's own idea of levels has no place for those of a 3-D texture.
    to.m_tex_type = basist::cBASISTexType2D;
}

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

/** Channel numbers of the data format descriptor; one for each sample. */
std::vector<ktx_uint32_t> sampleChannels(bool uastc, int channels, bool hasAlpha)
{
    if (uastc)
    {
        if (channels == 1) return {KHR_DF_CHANNEL_UASTC_RRR};
        if (channels == 2) return {KHR_DF_CHANNEL_UASTC_RRRG};
        return {hasAlpha ? KHR_DF_CHANNEL_UASTC_RGBA : KHR_DF_CHANNEL_UASTC_RGB};
    }
    if (channels == 1) return {KHR_DF_CHANNEL_ETC1S_RRR};
    if (channels == 2) return {KHR_DF_CHANNEL_ETC1S_RRR, KHR_DF_CHANNEL_ETC1S_GGG};
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

ktx_error_code_e compress(ktxTexture2& texture, const ktxBasisParams& params)
{
    const int channels = encodableChannels(texture);
    if (channels == 0) return KTX_INVALID_OPERATION;

    basisu::basisu_encoder_init(); // does nothing after the first time, under its own lock
    basisu::job_pool threads(threadCount(params));
    basisu::basis_compressor_params encoderParams;
    encoderParams.m_source_images = basisImages(texture, channels);
    encoderParams.m_pJob_pool = &threads;
    setParameters(params, channels, KHR_DFDVAL(texture.pDfd + 1, TRANSFER) == KHR_DF_TRANSFER_SRGB, encoderParams);
    basisu::basis_compressor compressor;
    const ktx_error_code_e result = encode(encoderParams, compressor);
    if (result != KTX_SUCCESS) return result;

    const bool hasAlpha = compressor.get_any_source_image_has_alpha();
    replaceLevels(texture, levelDataOf(compressor.get_output_basis_file(), imagesPerLevel(texture)),
                  compressedDfd(texture.pDfd, params.uastc, sampleChannels(params.uastc, channels, hasAlpha)));
    texture.vkFormat = VK_FORMAT_UNDEFINED;
    texture.isCompressed = KTX_TRUE;
    texture._protected->_typeSize = 1;
    ktxFormatSize_initFromDfd(&texture._protected->_formatSize, texture.pDfd);
    return KTX_SUCCESS;
}
} // namespace
} // namespace mvgeo

extern "C" KTX_error_code ktxTexture2_CompressBasisEx(ktxTexture2* This, ktxBasisParams* params)
{
    if (!This || !params || params->structSize != sizeof(ktxBasisParams)) return KTX_INVALID_VALUE;
    if (!mvgeo::isSupported(*params)) return KTX_UNSUPPORTED_FEATURE;
    return mvgeo::guarded([&] { return mvgeo::compress(*This, *params); });
}
