#pragma once

#include "HostSdkExport.h"

#include <exception>

/** The host's exception: one error status. */
class HOSTSDK_API MvErrorStatus : public std::exception
{
public:
    enum Status : int
    {
        kInvalidInput = 3,
        kOutOfMemory = 6
    };

    explicit MvErrorStatus(Status status) : _status(status) {}
    ~MvErrorStatus() override;

    [[nodiscard]] Status status() const { return _status; }
    [[nodiscard]] const char* what() const noexcept override;

private:
    Status _status;
};
