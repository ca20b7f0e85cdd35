#pragma once
// What the console's core runs on: the platform ports, the ini engine and the
// prompter. Made once at start-up and handed to whoever needs it.

#include "core/ui/prompter.h"
#include "platform/platform.h"

namespace OCL::Ini {
class Files;
}

class CEnvironment {
public:
    CEnvironment(OCL::Platform& platform, OCL::Ini::Files& files, OCL::IPrompter& prompter)
        : m_platform(platform), m_files(files), m_prompter(prompter) {}

    OCL::Platform& Platform() const { return m_platform; }
    OCL::IRegistry& Registry() const { return *m_platform.registry; }
    OCL::IServiceControl& Services() const { return *m_platform.services; }
    OCL::IModules& Modules() const { return *m_platform.modules; }
    OCL::INetwork& Network() const { return *m_platform.network; }
    OCL::IServicePipe& Pipe() const { return *m_platform.pipe; }
    OCL::IShares& Shares() const { return *m_platform.shares; }
    OCL::IShell& Shell() const { return *m_platform.shell; }
    OCL::ISystem& System() const { return *m_platform.system; }
    OCL::IClock& Clock() const { return *m_platform.clock; }
    OCL::Ini::Files& Files() const { return m_files; }
    OCL::IPrompter& Prompter() const { return m_prompter; }

private:
    OCL::Platform& m_platform;
    OCL::Ini::Files& m_files;
    OCL::IPrompter& m_prompter;
};
