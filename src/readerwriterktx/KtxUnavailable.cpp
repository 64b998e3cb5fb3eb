// Reading and writing where there is no libktx to do it.

#include "readerwriterktx/KtxLog.h"
#include "readerwriterktx/KtxReading.h"
#include "readerwriterktx/KtxWriting.h"

namespace mvgeo
{

namespace
{

constexpr char kMessage[] = "KTX textures are not available: built without libktx";
constexpr int kLibraryNotLinked = 18; // libktx's code for it

} // namespace

osg::ref_ptr<osg::Image> readKtx(const unsigned char*, std::size_t, const osgDB::Options*, KtxFault& fault)
{
    fault = {kLibraryNotLinked, kMessage};
    return nullptr;
}

std::string writeKtx(const std::vector<const osg::Image*>&, bool, const KtxSettings&)
{
    KtxLog(osg::WARN) << kMessage;
    return {};
}

} // namespace mvgeo
