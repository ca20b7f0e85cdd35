#pragma once
// The one place that chooses the ports the console runs on: on Windows the
// real system (registries, service managers, NetAPI, pipes and shares of the
// network it administers); elsewhere a site. The implementation is picked in
// CMake, one file per kind.

#include "platform/platform.h"

#include <memory>

class QCommandLineParser;

// Adds the options that choose the ports (a site's folder, for one).
void AddPlatformOptions(QCommandLineParser& parser);
// The ports as the command line and the environment ask for them; never null.
std::unique_ptr<OCL::Platform> OpenPlatform(const QCommandLineParser& parser);
