#pragma once

#include "TempFolder.h"

#include <cstdlib>
#include <optional>
#include <string>

/** A folder for all caches, also those of programs that are started, while it lives: the environment variable TEMP. */
class OwnCaches
{
public:
    OwnCaches()
    {
        if (const char* before = std::getenv("TEMP")) _before = before;
        set(_folder.path());
    }
    ~OwnCaches() { set(_before.value_or(std::string())); } // empty is as good as none
    OwnCaches(const OwnCaches&) = delete;
    OwnCaches& operator=(const OwnCaches&) = delete;

    [[nodiscard]] std::string path(const std::string& name) const { return _folder.path(name); }
    std::string write(const std::string& name, const std::string& content) const
    {
        return _folder.write(name, content);
    }

private:
    static void set(const std::string& value)
    {
#if defined(_WIN32)
        _putenv_s("TEMP", value.c_str());
#else
        if (value.empty())
            unsetenv("TEMP"); // the standard library takes an empty one for a folder
        else
            setenv("TEMP", value.c_str(), 1);
#endif
    }

    TempFolder _folder;
    std::optional<std::string> _before;
};
