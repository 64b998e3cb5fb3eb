#pragma once

#include "hostsdk/HostText.h"

#include <KdString.h>

#include <filesystem>
#include <random>
#include <string>
#include <system_error>

#include <cstdlib>
#if defined(_WIN32)
#include "platform/windows/WindowsApi.h"
#endif

/** A place for settings that nobody else uses, gone at the end: a file of its own, or on Windows a key of its own in
 * the current user's registry. Not while other threads read the environment. */
class OwnSettings
{
public:
    OwnSettings()
    {
        std::random_device random;
        const std::string name = "MvGeoThirdpartyTest" + std::to_string(random());
        _key = KdString(("Software\\" + name).c_str());
#if !defined(_WIN32)
        _folder = std::filesystem::temp_directory_path() / name;
        std::filesystem::create_directories(_folder);
        if (const char* before = std::getenv(kPlace)) _before = before;
        setenv(kPlace, file().c_str(), 1);
#endif
    }
    ~OwnSettings()
    {
#if defined(_WIN32)
        RegDeleteTreeW(HKEY_CURRENT_USER, _key.kwszPtr());
#else
        std::error_code ignored;
        std::filesystem::remove_all(_folder, ignored);
        if (_before.empty())
            unsetenv(kPlace);
        else
            setenv(kPlace, _before.c_str(), 1);
#endif
    }
    OwnSettings(const OwnSettings&) = delete;
    OwnSettings& operator=(const OwnSettings&) = delete;

    /** A key that does not exist at first. */
    [[nodiscard]] const KdString& key() const
    {
        return _key;
    }
    [[nodiscard]] KdString keyBelow(const KdString& tail) const
    {
        return _key + KdString("\\") + tail;
    }

    /** Off Windows only. */
    [[nodiscard]] std::filesystem::path folder() const
    {
        return _folder;
    }
    [[nodiscard]] std::string file() const
    {
        return (_folder / "settings.sqlite").string();
    }

private:
    static constexpr const char* kPlace = "MVGEO_SETTINGS_FILE";

    KdString _key;
    std::filesystem::path _folder;
    std::string _before;
};
