// ktxErrorString: a sentence for each error.

#include <ktx.h>

extern "C" const char* ktxErrorString(KTX_error_code error)
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
