#include "OrloCrashRecorder.h"

#include <atomic>

namespace
{
std::atomic<OrloCrashRecorder*> currentRecorder{nullptr};
}

OrloCrashRecorder::~OrloCrashRecorder() = default;

OrloCrashRecorder* orloGetCrashRecorder()
{
    return currentRecorder.load();
}

void orloSetCrashRecorder(OrloCrashRecorder* recorder)
{
    currentRecorder.store(recorder);
}
