#pragma once

#include <ktx.h>

#include <exception>
#include <new>

namespace mvgeo
{
/** libktx is called from C: nothing may be thrown through it. */
template <typename Function>
ktx_error_code_e guarded(Function&& function)
{
    try
    {
        return function();
    }
    catch (const std::bad_alloc&)
    {
        return KTX_OUT_OF_MEMORY;
    }
    catch (const std::exception&)
    {
        return KTX_INVALID_OPERATION;
    }
}
} // namespace mvgeo
