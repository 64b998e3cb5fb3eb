#include "support/ScopedEnvironment.h"

#include <cstdlib>
#include <utility>

namespace
{

void setVariable(const std::string& name, const std::optional<std::string>& value)
{
#if defined(_WIN32)
    _putenv_s(name.c_str(), value ? value->c_str() : "");
#else
    if (value)
        setenv(name.c_str(), value->c_str(), 1);
    else
        unsetenv(name.c_str());
#endif
}

} // namespace

ScopedEnvironment::ScopedEnvironment(std::string name, const std::optional<std::string>& value) : _name(std::move(name))
{
    if (const char* before = std::getenv(_name.c_str())) _before = before;
    setVariable(_name, value);
}

ScopedEnvironment::~ScopedEnvironment()
{
    setVariable(_name, _before);
}
