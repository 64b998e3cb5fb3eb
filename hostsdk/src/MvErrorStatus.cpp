#include "MvErrorStatus.h"

MvErrorStatus::~MvErrorStatus() = default;

const char* MvErrorStatus::what() const noexcept
{
    switch (_status)
    {
    case kInvalidInput:
        return "host error 3: invalid input";
    case kOutOfMemory:
        return "host error 6: out of memory";
    }
    return "host error of unknown status";
}
