#include "KdEdVariables.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <new>
#include <string>

namespace
{

using Text = std::basic_string<KdChar>;

struct Variables
{
    std::mutex lock;
    std::map<Text, Text> values; // guarded by lock
};

// Made on first use: libraries look variables up while they are being loaded.
Variables& variables()
{
    static Variables instance;
    return instance;
}

// Null when memory runs out.
KdChar* copyForCaller(const Text& text)
{
    const std::size_t unitCount = text.size() + 1;
    auto* copy = new (std::nothrow) KdChar[unitCount];
    if (copy) std::copy_n(text.c_str(), unitCount, copy);
    return copy;
}

} // namespace

bool kdedGetVar(const KdChar* name, KdChar** value)
{
    if (value) *value = nullptr;
    if (!name || !value) return false;

    Variables& all = variables();
    const std::lock_guard<std::mutex> guard(all.lock);
    const auto found = all.values.find(name);
    if (found == all.values.end()) return false;
    *value = copyForCaller(found->second);
    return *value != nullptr;
}

void kdedSetVar(const KdChar* name, const KdChar* value)
{
    if (!name) return;
    Variables& all = variables();
    const std::lock_guard<std::mutex> guard(all.lock);
    if (value)
        all.values[name] = value;
    else
        all.values.erase(name);
}

void kdutDelBuffer(KdChar* buffer)
{
    delete[] buffer;
}
