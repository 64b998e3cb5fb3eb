#pragma once

#include "TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

/** The real program, as a shell starts it. */
struct Outcome
{
    int status = -1;
    std::string out;
    std::string err;
};

inline std::string readFile(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline Outcome run(const std::string& arguments)
{
    const TempFolder folder;
    const std::string command = std::string("\"") + MVGEO_HOST_PROGRAM + "\" " + arguments + " >\"" +
                                folder.path("out") + "\" 2>\"" + folder.path("err") + "\"";
    Outcome outcome;
    const int status = std::system(command.c_str());
#if defined(_WIN32)
    outcome.status = status;
#else
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
    outcome.out = readFile(folder.path("out"));
    outcome.err = readFile(folder.path("err"));
    return outcome;
}

/** While it lives, programs that are run are not searched for leaks: the driver that draws without a display leaves a
 * few bytes behind, and is unloaded by the time that it could be named. Only a sanitizer's run notices any of this. */
class WithoutLeakCheck
{
public:
    WithoutLeakCheck() { set(_before + ":detect_leaks=0"); }
    ~WithoutLeakCheck() { set(_before); }
    WithoutLeakCheck(const WithoutLeakCheck&) = delete;
    WithoutLeakCheck& operator=(const WithoutLeakCheck&) = delete;

private:
    static constexpr const char* kVariable = "ASAN_OPTIONS";
    static std::string current()
    {
        const char* value = std::getenv(kVariable);
        return value ? value : "";
    }
    static void set(const std::string& value)
    {
#if defined(_WIN32)
        _putenv_s(kVariable, value.c_str());
#else
        setenv(kVariable, value.c_str(), 1);
#endif
    }

    const std::string _before = current();
};

inline std::string quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

/** One line on standard error, nothing on standard output, and not zero. */
inline void expectOneSentence(const std::string& arguments, const std::string& part)
{
    SCOPED_TRACE(arguments);
    const Outcome outcome = run(arguments);
    EXPECT_GT(outcome.status, 0);
    EXPECT_LT(outcome.status, 126); // neither missing nor ended by a signal
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_EQ(outcome.err.rfind("mvgeo: ", 0), 0U) << outcome.err;
    EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
}
