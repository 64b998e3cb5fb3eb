// ktxErrorString and the names of schemes and transcode targets.

#include <ktx.h>

extern "C"
{
    const char* ktxErrorString(KTX_error_code error)
    {
        switch (error)
        {
        case KTX_SUCCESS:
            return "Operation succeeded.";
        case KTX_FILE_DATA_ERROR:
            return "The data in the file is inconsistent with the KTX format.";
        case KTX_FILE_ISPIPE:
            return "The file is a pipe or named pipe.";
        case KTX_FILE_OPEN_FAILED:
            return "The file could not be opened.";
        case KTX_FILE_OVERFLOW:
            return "The operation would exceed the largest size of a file.";
        case KTX_FILE_READ_ERROR:
            return "An error occurred while reading from the file.";
        case KTX_FILE_SEEK_ERROR:
            return "An error occurred while seeking in the file.";
        case KTX_FILE_UNEXPECTED_EOF:
            return "The file does not have enough data for the request.";
        case KTX_FILE_WRITE_ERROR:
            return "An error occurred while writing to the file.";
        case KTX_GL_ERROR:
            return "OpenGL operations resulted in an error.";
        case KTX_INVALID_OPERATION:
            return "The operation is not allowed in the current state.";
        case KTX_INVALID_VALUE:
            return "A parameter value was not valid.";
        case KTX_NOT_FOUND:
            return "The requested metadata key or function was not found.";
        case KTX_OUT_OF_MEMORY:
            return "There is not enough memory for the operation.";
        case KTX_TRANSCODE_FAILED:
            return "Transcoding of the block-compressed texture failed.";
        case KTX_UNKNOWN_FILE_FORMAT:
            return "The file is not a KTX file.";
        case KTX_UNSUPPORTED_TEXTURE_TYPE:
            return "The file specifies an unsupported type of texture.";
        case KTX_UNSUPPORTED_FEATURE:
            return "The library in use does not have this feature.";
        case KTX_LIBRARY_NOT_LINKED:
            return "A library that is needed is not linked into the application.";
        case KTX_DECOMPRESS_LENGTH_ERROR:
            return "The number of decompressed bytes is not the expected one.";
        case KTX_DECOMPRESS_CHECKSUM_ERROR:
            return "The checksum does not match after decompressing.";
        }
        return "Unrecognized error code.";
    }

    const char* ktxSupercompressionSchemeString(ktxSupercmpScheme scheme)
    {
        switch (static_cast<unsigned int>(scheme))
        {
        case KTX_SS_NONE:
            return "KTX_SS_NONE";
        case KTX_SS_BASIS_LZ:
            return "KTX_SS_BASIS_LZ";
        case KTX_SS_ZSTD:
            return "KTX_SS_ZSTD";
        case KTX_SS_ZLIB:
            return "KTX_SS_ZLIB";
        default:
            break;
        }
        const bool ofVendor = scheme >= KTX_SS_BEGIN_VENDOR_RANGE && scheme <= KTX_SS_END_VENDOR_RANGE;
        return ofVendor ? "Vendor scheme" : "Invalid scheme or scheme that is not known";
    }

    const char* ktxTranscodeFormatString(ktx_transcode_fmt_e format)
    {
        switch (static_cast<unsigned int>(format))
        {
        case KTX_TTF_ETC1_RGB:
            return "ETC1_RGB";
        case KTX_TTF_ETC2_RGBA:
            return "ETC2_RGBA";
        case KTX_TTF_BC1_RGB:
            return "BC1_RGB";
        case KTX_TTF_BC3_RGBA:
            return "BC3_RGBA";
        case KTX_TTF_BC4_R:
            return "BC4_R";
        case KTX_TTF_BC5_RG:
            return "BC5_RG";
        case KTX_TTF_BC7_RGBA:
            return "BC7_RGBA";
        case KTX_TTF_PVRTC1_4_RGB:
            return "PVRTC1_4_RGB";
        case KTX_TTF_PVRTC1_4_RGBA:
            return "PVRTC1_4_RGBA";
        case KTX_TTF_ASTC_4x4_RGBA:
            return "ASTC_4x4_RGBA";
        case KTX_TTF_RGBA32:
            return "RGBA32";
        case KTX_TTF_RGB565:
            return "RGB565";
        case KTX_TTF_BGR565:
            return "BGR565";
        case KTX_TTF_RGBA4444:
            return "RGBA4444";
        case KTX_TTF_PVRTC2_4_RGB:
            return "PVRTC2_4_RGB";
        case KTX_TTF_PVRTC2_4_RGBA:
            return "PVRTC2_4_RGBA";
        case KTX_TTF_ETC2_EAC_R11:
            return "ETC2_EAC_R11";
        case KTX_TTF_ETC2_EAC_RG11:
            return "ETC2_EAC_RG11";
        case KTX_TTF_ETC:
            return "ETC";
        case KTX_TTF_BC1_OR_3:
            return "BC1 or BC3";
        default:
            return "Unrecognized format";
        }
    }
}
