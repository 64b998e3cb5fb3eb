#pragma once

#include <MvErrorStatus.h>
#include <OrloCrashRecorder.h>

#include <vector>

/** Writes down what it is shown, while it lives. */
class ListeningRecorder : public OrloCrashRecorder
{
public:
    ListeningRecorder() { orloSetCrashRecorder(this); }
    ~ListeningRecorder() override { orloSetCrashRecorder(nullptr); }
    void record(const MvErrorStatus& error) override { seen.push_back(error.status()); }

    std::vector<int> seen;
};
