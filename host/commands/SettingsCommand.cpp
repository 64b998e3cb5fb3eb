#include "commands/Commands.h"
#include "commands/SettingText.h"
#include "common/HostError.h"
#include "common/JsonReport.h"

#include <mvgeothirdparty/MvRegConfig.h>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace mvgeo::host
{
namespace
{
struct SettingsOptions
{
    std::string key; // below the product's root key; empty is the root key itself
    std::string name;
    std::string value;
    std::string type = "string";
    bool json = false;
};

KdString fullPath(const std::string& key)
{
    const KdString root = MvRegConfig::getRegRootPath();
    return key.empty() ? root : root + KdString("\\") + KdString(key.c_str());
}

std::string quoted(const SettingsOptions& options)
{
    return "'" + options.name + "' in '" + fullPath(options.key).utf8Ptr() + "'";
}

Json settingToJson(const std::string& name, const OrloVariant& value)
{
    return {{"name", name}, {"type", settingType(value)}, {"value", settingJson(value)}};
}

void getSetting(const SettingsOptions& options)
{
    OrloVariant value;
    if (!MvRegConfig::ReadValFromReg(fullPath(options.key), KdString(options.name.c_str()), value))
        throw HostError("There is no setting " + quoted(options) + ", or it cannot be read.");
    if (options.json)
        printJson(settingToJson(options.name, value));
    else
        std::cout << settingType(value) << "  " << settingText(value) << '\n';
}

void setSetting(const SettingsOptions& options)
{
    const std::optional<OrloVariant> value = settingFromText(options.type, options.value);
    if (!value) throw HostError("'" + options.value + "' is not a value of the type " + options.type + ".");
    // The library would store nothing, and call that a success.
    if (options.type == "blob" && options.value.empty()) throw HostError("An empty blob cannot be stored.");
    if (!MvRegConfig::WriteValToReg(fullPath(options.key), KdString(options.name.c_str()), *value))
        throw HostError("Cannot write the setting " + quoted(options) + ".");
}

void listSettings(const SettingsOptions& options)
{
    const KdString path = fullPath(options.key);
    std::vector<KdString> keys;
    std::vector<KdString> names;
    if (!MvRegConfig::listRegKey(path, keys, names))
        throw HostError(std::string("There is no key '") + path.utf8Ptr() + "', or it cannot be read.");

    Json report{{"key", path.utf8Ptr()}, {"keys", Json::array()}, {"values", Json::array()}};
    std::string lines = std::string(path.utf8Ptr()) + '\n';
    for (const KdString& key : keys)
    {
        report["keys"].push_back(key.utf8Ptr());
        lines += std::string("  ") + key.utf8Ptr() + "\\\n";
    }
    for (const KdString& name : names)
    {
        OrloVariant value;
        if (!MvRegConfig::ReadValFromReg(path, name, value)) continue; // gone meanwhile
        report["values"].push_back(settingToJson(name.utf8Ptr(), value));
        lines += std::string("  ") + name.utf8Ptr() + "  " + settingType(value) + "  " + settingText(value) + '\n';
    }
    if (options.json)
        printJson(report);
    else
        std::cout << lines;
}

using Options = std::shared_ptr<SettingsOptions>;

CommandOption addKey(Command command, const Options& options)
{
    return command.add("KEY", options->key, "key below the product's root, with '\\' between its parts");
}

void addName(Command command, const Options& options)
{
    command.add("NAME", options->name, "name of the value; \"\" is the key's own").required();
}

} // namespace

void addSettingsCommand(Command app)
{
    Command settings = app.addCommand("settings", "show and change the user's settings");
    settings.requireCommand();
    const auto options = std::make_shared<SettingsOptions>();

    Command get = settings.addCommand("get", "print the type and the value of a setting");
    addKey(get, options).required();
    addName(get, options);
    addJsonOption(get, options->json);
    get.onRun([options] { getSetting(*options); });

    Command set = settings.addCommand("set", "store a setting; keys that are missing are made");
    addKey(set, options).required();
    addName(set, options);
    set.add("VALUE", options->value, "the value; a blob in hexadecimal digits, two a byte").required();
    set.add("--type", options->type, "type of the value")
        .oneOf({std::begin(kSettingTypes), std::end(kSettingTypes)})
        .showDefault();
    set.onRun([options] { setSetting(*options); });

    Command list = settings.addCommand("list", "print what a key holds");
    addKey(list, options);
    addJsonOption(list, options->json);
    list.onRun([options] { listSettings(*options); });
}
} // namespace mvgeo::host
