#pragma once

#include "MvGeoExport.h"

#include <KdString.h>
#include <OrloVariant.h>

#include <vector>

/** Per-user settings of the host product: in the Windows registry below HKEY_CURRENT_USER; on other systems the same
 * keys, values and types in a file below the user's configuration folder (the environment variable MVGEO_SETTINGS_FILE
 * names another file).
 *
 * A sub-key is a full path below HKEY_CURRENT_USER with '\' between the keys, for example what getRegCfgPath() gives or
 * a key below it; it does not begin with '\'. Keys and value names are compared without regard to case.
 *
 * Failure shows in the result only, nothing is logged; an output is changed only if the result is true. Writers create
 * the keys that are missing along the path, readers never do.
 * Thread: any, and several processes at once.
 *
 * The names, which tell of a registry on every system and shorten as it does, are those under which hosts import the
 * functions.
 */
namespace MvRegConfig
{
/** The product's root key as the host application services tell it; empty without a running host. */
MVGEO_API KdString getRegRootPath();

/** The root key followed by "\profiles\Default\Config"; empty, without the suffix, without a running host. */
MVGEO_API KdString getRegCfgPath();

/** These four are false without a running host, and for an empty sub-key. */
MVGEO_API bool setRegDWordVal(const KdString& subKey, const KdString& valueName, int value);
/** False for a value of another type than REG_DWORD. */
MVGEO_API bool getRegDWordVal(const KdString& subKey, const KdString& valueName, int& value);
MVGEO_API bool setRegStringVal(const KdString& subKey, const KdString& valueName, const KdString& value);
/** False for a value of another type than REG_SZ, and for more than 512 bytes (255 characters and their zero):
 * ReadValFromReg() reads those. */
MVGEO_API bool getRegStringVal(const KdString& subKey, const KdString& valueName, KdString& value);

/** Stores a variant by its tag: kInt32 as REG_DWORD, kInt64 as REG_QWORD, kDouble and kBlob as REG_BINARY, kString as
 * REG_SZ. A variant without a payload block is zero, or the empty text. Of a blob as many bytes are stored as its size
 * field says, from just after that field. A blob whose size field is 0, and a variant with any other tag, store
 * nothing; the result is true if the key could be opened or created. Works without a running host. */
MVGEO_API bool WriteValToReg(const KdString& subKey, const KdString& valueName, const OrloVariant& value);

/** The opposite: REG_DWORD, REG_QWORD, REG_BINARY and REG_SZ become kInt32, kInt64, kBlob and kString. A double comes
 * back as a blob of 8 bytes. The size field of a blob counts itself, so that a blob which is read and stored again is
 * stored four bytes longer. A value of another type leaves the variant as it is, and the result is true. A number goes
 * into the block that a variant of the same tag already has. Works without a running host.
 *
 * Throws MvErrorStatus, after the host's crash recorder has seen it: kOutOfMemory if memory runs out, kInvalidInput for
 * a value whose size cannot be held. The variant is unchanged then, and on Windows the key stays open. */
MVGEO_API bool ReadValFromReg(const KdString& subKey, const KdString& valueName, OrloVariant& value);

/** The names of the keys directly below `subKey`, and of the values in it, sorted. False, with both left alone, for an
 * empty sub-key and one that cannot be read. Works without a running host. */
MVGEO_API bool listRegKey(const KdString& subKey, std::vector<KdString>& subKeys, std::vector<KdString>& valueNames);
} // namespace MvRegConfig
