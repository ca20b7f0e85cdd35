#pragma once
// A site: a directory that stands for a small Windows network, so the console,
// its companion libraries and the simulated service can run anywhere. Everything
// here is plain C++ with the standard library (and POSIX file locks).
//
// Layout (all text files are Windows profile files unless said otherwise):
//
//   site.ini              [Site] LocalComputer=NAME  the computer the console runs on
//                                RouterAdmin=1        0: the router administration
//                                                     interface is missing here
//                         [Modules] RASSAPI.DLL=file  library name -> file in the module
//                                                     folder (or absolute); empty = absent
//                         [Shares] \\HOST\SHARE=/dir  a real folder standing in for a share
//   network.ini           providers, domains, computers, groups, members, users
//                         (see sitenetwork.h and docs/site-format.md)
//   hosts/NAME/           one folder per computer; NAME is matched without case
//     host.ini            [Host] Reachable=1 (0: every remote call answers 53)
//                                AccessDenied=0 (1: every remote call answers 5)
//                                LatencyMs=0 (each remote call waits this long)
//                                RasKind=RAS | RRAS | None
//                                PlatformId, MajorVersion, MinorVersion, BuildNumber
//                                (the local computer's GetVersionEx)
//     registry.reg        HKEY_LOCAL_MACHINE and HKEY_USERS in registry-export text
//     services.ini        one section per service: State (1 stopped, 4 running,
//                         2/3 start/stop pending), StartPendingMs, StopPendingMs,
//                         PendingUntil (ms since 1970 while pending)
//     ports.ini           the RAS port table, one section per port in port order
//                         (keys: see PortRecord)
//     ports.lock          lock file guarding read-modify-write of ports.ini
//     rasusers.ini        on domain controllers: [account] Privilege=, Phone=
//     shares/SHARE/       the computer's shares (CW_NT_DB, admin$, ...)
//     temp/               the local computer's temporary folder
//   spool/messages.log    messages sent with NET SEND, one line each
//   spool/shell.log       documents and pages opened through the shell
//   run/                  the service pipes' sockets while cwsite serve runs

#include "platform/types.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace OCL::Ini {
class Files;
}

namespace OCL::Site {

enum class RasKind { None, Ras, Rras };

// What host.ini says of a computer.
struct HostInfo {
    std::string name; // as the folder spells it
    std::filesystem::path dir;
    bool reachable = true;
    bool accessDenied = false;
    std::uint32_t latencyMs = 0;
    RasKind rasKind = RasKind::None;
    DWORD platformId = 2;
    DWORD majorVersion = 0;
    DWORD minorVersion = 0;
    DWORD buildNumber = 0;
};

// One port of the port table (ports.ini). Empty user means idle.
struct PortRecord {
    std::string name;                 // section name
    std::string deviceType = "modem"; // DeviceType
    std::string deviceName;           // DeviceName
    std::string mediaName = "rasser"; // MediaName
    DWORD lineSpeed = 0;              // LineSpeed, bits per second
    DWORD hardwareCondition = 1;      // HardwareCondition (1 operational, 3 failure)
    std::string user;                 // User (account name without domain)
    std::string domain;               // Domain
    std::string computer;             // Computer: the caller's NetBIOS name
    std::int64_t start = 0;           // Start: session start, seconds since 1970
    std::string ip;                   // IP: dotted address of the caller
    std::string ipx;                  // IPX
    DWORD flags = 0;                  // Flags (RasPortFlags)
    DWORD bytesXmit = 0, bytesRcved = 0, framesXmit = 0, framesRcved = 0;
    DWORD bytesXmitUncompressed = 0, bytesRcvedUncompressed = 0;
    DWORD bytesXmitCompressed = 0, bytesRcvedCompressed = 0;
    DWORD crcErr = 0, timeoutErr = 0, alignErr = 0, framingErr = 0, hwOverrunErr = 0, bufOverrunErr = 0;

    bool Connected() const { return !user.empty() && start != 0; }
    // Clears the session and its counters, as a hang-up does.
    void EndSession();
};

class SiteDirectory {
public:
    explicit SiteDirectory(std::filesystem::path root);

    const std::filesystem::path& Root() const { return m_root; }
    // Problems found with the site as a whole (missing folder, unreadable site.ini).
    std::vector<std::string> Problems() const;

    // "NAME", "\\NAME" and "." (this computer) all name a host; empty names this
    // computer too. Unknown names give nothing.
    std::optional<HostInfo> FindHost(const std::string& name) const;
    std::string LocalComputer() const;
    std::vector<std::string> HostNames() const;

    // The answer a remote call to the host gets before anything else: Success,
    // BadNetPath (unknown or unreachable) or AccessDenied. Waits the host's
    // latency first. Calls for this computer are never remote.
    DWORD Reach(const std::string& name, HostInfo* host = nullptr) const;

    std::string SiteValue(const std::string& section, const std::string& key, const std::string& def) const;

    // The port table of a host.
    std::vector<PortRecord> ReadPorts(const HostInfo& host) const;
    // Runs change on the table under the host's port lock and writes it back when
    // change returns true. False when the table could not be written.
    bool EditPorts(const HostInfo& host, const std::function<bool(std::vector<PortRecord>&)>& change) const;
    static void WritePorts(Ini::Files& files, const std::filesystem::path& path,
                           const std::vector<PortRecord>& ports);

    // The state of a service on a host (services.ini) at nowMs, a start or stop
    // whose pending phase has run out counted as done; 0 when there is no such service.
    DWORD ServiceState(const HostInfo& host, const std::string& service, std::int64_t nowMs) const;

    // Socket path of a service pipe "\\HOST\pipe\NAME" on this site.
    std::filesystem::path PipeSocket(const std::string& host, const std::string& pipeName) const;

    Ini::Files& Files() const { return *m_files; }

private:
    std::filesystem::path m_root;
    std::shared_ptr<Ini::Files> m_files;
};

// Strips one or two leading backslashes.
std::string BareName(const std::string& name);
// Case-insensitive comparison of computer, domain and account names.
bool SameName(const std::string& a, const std::string& b);
// "192.168.1.1" <-> 3232235777; 0 for text that is not an address.
std::uint32_t PackAddress(const std::string& dotted);
std::string DottedAddress(std::uint32_t packed);

// Cross-process lock on a file (created when missing), held while alive.
class FileLock {
public:
    explicit FileLock(const std::filesystem::path& path);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    bool Locked() const { return m_fd >= 0; }

private:
    int m_fd = -1;
};

// Attaches a site library (RASSAPI, _CWADMIN) to a site; the loader calls the
// library's exported "CwSiteAttach" with the site's root after loading it.
using PFN_CwSiteAttach = void (*)(const char* siteRoot);
inline constexpr const char* kAttachSymbol = "CwSiteAttach";

} // namespace OCL::Site
