// The table of functions that belongs to a KTX 2 texture names these as well. Nobody here calls them, and whoever did
// would be told.

#include <ktx.h>

extern "C"
{
    KTX_error_code ktxTexture2_SetImageFromStdioStream(ktxTexture2*, ktx_uint32_t, ktx_uint32_t, ktx_uint32_t, FILE*,
                                                       ktx_size_t)
    {
        return KTX_UNSUPPORTED_FEATURE;
    }

    KTX_error_code ktxTexture2_WriteToStdioStream(ktxTexture2*, FILE*)
    {
        return KTX_UNSUPPORTED_FEATURE;
    }

    KTX_error_code ktxTexture2_WriteToNamedFile(ktxTexture2*, const char* const)
    {
        return KTX_UNSUPPORTED_FEATURE;
    }

    KTX_error_code ktxTexture2_WriteToStream(ktxTexture2*, ktxStream*)
    {
        return KTX_UNSUPPORTED_FEATURE;
    }
}
