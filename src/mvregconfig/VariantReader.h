#pragma once

#include "platform/SettingsStore.h"

#include <KdString.h>
#include <OrloVariant.h>

namespace mvgeo
{

/** Turns the value into a variant, by the type that is stored; false, with the variant unchanged, if it is not there or
 * cannot be fetched. Throws MvErrorStatus as ReadValFromReg() says, and then leaves the key open. */
[[nodiscard]] bool readVariant(platform::SettingsKey& key, const KdString& valueName, OrloVariant& value);

} // namespace mvgeo
