// The only part of the process that needs the library: whoever loads and unloads this loads and unloads the library.
#include "mvgeothirdparty/MvGeoThirdparty.h"

#include <osg/Notify>

#if defined(_WIN32)
#define PROBE extern "C" __declspec(dllexport)
#else
#define PROBE extern "C" __attribute__((visibility("default")))
#endif

PROBE void askForAFileName()
{
    KdString name;
    getFileName_Imp(KdString("a/b.osgb"), name);
}

PROBE void readATile()
{
    IsOsgbFileValid_Imp(KdString("missing.osgb"));
}

PROBE void makeAModel()
{
    delete createTiledModel(nullptr, kTiledModel);
}
