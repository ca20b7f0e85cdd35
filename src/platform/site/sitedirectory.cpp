#include "platform/site/sitedirectory.h"

#include "ini/inifile.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <thread>

#ifdef _WIN32
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace OCL::Site {
namespace {

unsigned char FoldChar(unsigned char c) {
    return (c >= 'A' && c <= 'Z') ? c + 32 : c;
}

std::string Upper(std::string text) {
    for (char& c : text)
        if (c >= 'a' && c <= 'z')
            c = char(c - 32);
    return text;
}

std::string Lower(std::string text) {
    for (char& c : text)
        c = char(FoldChar(static_cast<unsigned char>(c)));
    return text;
}

DWORD ToDword(const Ini::Document& doc, std::size_t section, std::string_view key, DWORD def) {
    const std::size_t count = doc.KeyCount(section);
    for (std::size_t k = 0; k < count; ++k) {
        if (!Ini::NamesEqual(doc.KeyName(section, k), key))
            continue;
        std::string_view text = doc.Value(section, k);
        long long value = 0;
        bool negative = false;
        std::size_t i = 0;
        if (i < text.size() && (text[i] == '-' || text[i] == '+'))
            negative = text[i++] == '-';
        for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
            value = (value * 10 + (text[i] - '0')) & 0xFFFFFFFFFFLL;
        return DWORD(negative ? -value : value);
    }
    return def;
}

std::string ToText(const Ini::Document& doc, std::size_t section, std::string_view key) {
    const std::size_t count = doc.KeyCount(section);
    for (std::size_t k = 0; k < count; ++k)
        if (Ini::NamesEqual(doc.KeyName(section, k), key))
            return std::string(doc.Value(section, k));
    return {};
}

} // namespace

void PortRecord::EndSession() {
    user.clear();
    domain.clear();
    computer.clear();
    start = 0;
    ip.clear();
    ipx.clear();
    flags = 0;
    bytesXmit = bytesRcved = framesXmit = framesRcved = 0;
    bytesXmitUncompressed = bytesRcvedUncompressed = 0;
    bytesXmitCompressed = bytesRcvedCompressed = 0;
    crcErr = timeoutErr = alignErr = framingErr = hwOverrunErr = bufOverrunErr = 0;
}

std::string BareName(const std::string& name) {
    std::size_t skip = 0;
    while (skip < 2 && skip < name.size() && name[skip] == '\\')
        ++skip;
    return name.substr(skip);
}

bool SameName(const std::string& a, const std::string& b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (FoldChar(static_cast<unsigned char>(a[i])) != FoldChar(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

std::uint32_t PackAddress(const std::string& dotted) {
    unsigned a = 0, b = 0, c = 0, d = 0;
    char extra = 0;
    if (std::sscanf(dotted.c_str(), "%u.%u.%u.%u%c", &a, &b, &c, &d, &extra) != 4 || a > 255 || b > 255 ||
        c > 255 || d > 255)
        return 0;
    return (a << 24) | (b << 16) | (c << 8) | d;
}

std::string DottedAddress(std::uint32_t packed) {
    char text[20];
    std::snprintf(text, sizeof text, "%u.%u.%u.%u", packed >> 24, (packed >> 16) & 0xFF, (packed >> 8) & 0xFF,
                  packed & 0xFF);
    return text;
}

SiteDirectory::SiteDirectory(fs::path root) : m_root(std::move(root)) {
    Ini::FilesOptions options;
    options.cacheBytes = std::size_t{64} << 20;
    m_files = std::make_shared<Ini::Files>(options);
}

std::vector<std::string> SiteDirectory::Problems() const {
    std::vector<std::string> problems;
    std::error_code ec;
    if (!fs::exists(m_root, ec)) {
        problems.push_back("The site folder " + m_root.string() + " does not exist.");
        return problems;
    }
    if (!fs::is_directory(m_root, ec)) {
        problems.push_back(m_root.string() + " is not a folder, so it cannot be a site.");
        return problems;
    }
    if (!fs::exists(m_root / "site.ini", ec))
        problems.push_back("The site folder " + m_root.string() + " has no site.ini.");
    else if (LocalComputer().empty())
        problems.push_back((m_root / "site.ini").string() +
                           " does not name the local computer ([Site] LocalComputer).");
    if (!fs::is_directory(m_root / "hosts", ec))
        problems.push_back("The site folder " + m_root.string() + " has no hosts folder.");
    else if (!LocalComputer().empty() && !FindHost(LocalComputer()))
        problems.push_back("The local computer " + LocalComputer() + " has no folder under " +
                           (m_root / "hosts").string() + ".");
    return problems;
}

std::string SiteDirectory::SiteValue(const std::string& section, const std::string& key,
                                     const std::string& def) const {
    return m_files->GetString(m_root / "site.ini", section, key, def);
}

std::string SiteDirectory::LocalComputer() const {
    return SiteValue("Site", "LocalComputer", "");
}

std::vector<std::string> SiteDirectory::HostNames() const {
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(m_root / "hosts", ec), end; !ec && it != end; it.increment(ec))
        if (it->is_directory(ec))
            names.push_back(it->path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::optional<HostInfo> SiteDirectory::FindHost(const std::string& name) const {
    std::string bare = BareName(name);
    if (bare.empty() || bare == ".")
        bare = LocalComputer();
    if (bare.empty())
        return std::nullopt;

    fs::path dir = m_root / "hosts" / bare;
    std::error_code ec;
    if (!fs::is_directory(dir, ec)) {
        // Computer names are not case-sensitive; the folder may be spelled otherwise.
        dir.clear();
        for (const std::string& candidate : HostNames())
            if (SameName(candidate, bare)) {
                dir = m_root / "hosts" / candidate;
                break;
            }
        if (dir.empty())
            return std::nullopt;
    }

    HostInfo info;
    info.name = dir.filename().string();
    info.dir = dir;
    auto doc = m_files->Read(dir / "host.ini");
    if (auto s = doc->FindSection("Host")) {
        info.reachable = ToDword(*doc, *s, "Reachable", 1) != 0;
        info.accessDenied = ToDword(*doc, *s, "AccessDenied", 0) != 0;
        info.latencyMs = ToDword(*doc, *s, "LatencyMs", 0);
        const std::string kind = Lower(ToText(*doc, *s, "RasKind"));
        info.rasKind = kind == "ras" ? RasKind::Ras : kind == "rras" ? RasKind::Rras : RasKind::None;
        info.platformId = ToDword(*doc, *s, "PlatformId", 2);
        info.majorVersion = ToDword(*doc, *s, "MajorVersion", 0);
        info.minorVersion = ToDword(*doc, *s, "MinorVersion", 0);
        info.buildNumber = ToDword(*doc, *s, "BuildNumber", 0);
    }
    return info;
}

DWORD SiteDirectory::Reach(const std::string& name, HostInfo* host) const {
    auto info = FindHost(name);
    if (!info)
        return Err::BadNetPath;
    if (host)
        *host = *info;
    if (SameName(info->name, LocalComputer()))
        return Err::Success;
    if (info->latencyMs)
        std::this_thread::sleep_for(std::chrono::milliseconds(info->latencyMs));
    if (!info->reachable)
        return Err::BadNetPath;
    if (info->accessDenied)
        return Err::AccessDenied;
    return Err::Success;
}

std::vector<PortRecord> SiteDirectory::ReadPorts(const HostInfo& host) const {
    std::vector<PortRecord> ports;
    auto doc = m_files->Read(host.dir / "ports.ini");
    for (std::size_t s = 0; s < doc->SectionCount(); ++s) {
        if (doc->FindSection(doc->SectionName(s)) != s)
            continue;
        PortRecord p;
        p.name = std::string(doc->SectionName(s));
        p.deviceType = ToText(*doc, s, "DeviceType");
        p.deviceName = ToText(*doc, s, "DeviceName");
        p.mediaName = ToText(*doc, s, "MediaName");
        p.lineSpeed = ToDword(*doc, s, "LineSpeed", 0);
        p.hardwareCondition = ToDword(*doc, s, "HardwareCondition", 1);
        p.user = ToText(*doc, s, "User");
        p.domain = ToText(*doc, s, "Domain");
        p.computer = ToText(*doc, s, "Computer");
        p.start = ToDword(*doc, s, "Start", 0);
        p.ip = ToText(*doc, s, "IP");
        p.ipx = ToText(*doc, s, "IPX");
        p.flags = ToDword(*doc, s, "Flags", 0);
        p.bytesXmit = ToDword(*doc, s, "BytesXmit", 0);
        p.bytesRcved = ToDword(*doc, s, "BytesRcved", 0);
        p.framesXmit = ToDword(*doc, s, "FramesXmit", 0);
        p.framesRcved = ToDword(*doc, s, "FramesRcved", 0);
        p.bytesXmitUncompressed = ToDword(*doc, s, "BytesXmitUncompressed", 0);
        p.bytesRcvedUncompressed = ToDword(*doc, s, "BytesRcvedUncompressed", 0);
        p.bytesXmitCompressed = ToDword(*doc, s, "BytesXmitCompressed", 0);
        p.bytesRcvedCompressed = ToDword(*doc, s, "BytesRcvedCompressed", 0);
        p.crcErr = ToDword(*doc, s, "CrcErr", 0);
        p.timeoutErr = ToDword(*doc, s, "TimeoutErr", 0);
        p.alignErr = ToDword(*doc, s, "AlignErr", 0);
        p.framingErr = ToDword(*doc, s, "FramingErr", 0);
        p.hwOverrunErr = ToDword(*doc, s, "HwOverrunErr", 0);
        p.bufOverrunErr = ToDword(*doc, s, "BufOverrunErr", 0);
        ports.push_back(std::move(p));
    }
    return ports;
}

void SiteDirectory::WritePorts(Ini::Files& files, const fs::path& path,
                               const std::vector<PortRecord>& ports) {
    std::string text;
    text.reserve(ports.size() * 512);
    auto line = [&text](const char* key, const std::string& value) {
        text += key;
        text += '=';
        text += value;
        text += "\r\n";
    };
    auto number = [&line](const char* key, std::uint64_t value) {
        line(key, std::to_string(value));
    };
    for (const PortRecord& p : ports) {
        text += "[" + p.name + "]\r\n";
        line("DeviceType", p.deviceType);
        line("DeviceName", p.deviceName);
        line("MediaName", p.mediaName);
        number("LineSpeed", p.lineSpeed);
        number("HardwareCondition", p.hardwareCondition);
        line("User", p.user);
        line("Domain", p.domain);
        line("Computer", p.computer);
        line("Start", std::to_string(p.start));
        line("IP", p.ip);
        line("IPX", p.ipx);
        number("Flags", p.flags);
        number("BytesXmit", p.bytesXmit);
        number("BytesRcved", p.bytesRcved);
        number("FramesXmit", p.framesXmit);
        number("FramesRcved", p.framesRcved);
        number("BytesXmitUncompressed", p.bytesXmitUncompressed);
        number("BytesRcvedUncompressed", p.bytesRcvedUncompressed);
        number("BytesXmitCompressed", p.bytesXmitCompressed);
        number("BytesRcvedCompressed", p.bytesRcvedCompressed);
        number("CrcErr", p.crcErr);
        number("TimeoutErr", p.timeoutErr);
        number("AlignErr", p.alignErr);
        number("FramingErr", p.framingErr);
        number("HwOverrunErr", p.hwOverrunErr);
        number("BufOverrunErr", p.bufOverrunErr);
        text += "\r\n";
    }
    files.WriteAll(path, text);
}

bool SiteDirectory::EditPorts(const HostInfo& host,
                              const std::function<bool(std::vector<PortRecord>&)>& change) const {
    FileLock lock(host.dir / "ports.lock");
    if (!lock.Locked())
        return false;
    std::vector<PortRecord> ports = ReadPorts(host);
    if (!change(ports))
        return true;
    const fs::path path = host.dir / "ports.ini";
    WritePorts(*m_files, path, ports);
    return fs::exists(path);
}

DWORD SiteDirectory::ServiceState(const HostInfo& host, const std::string& service,
                                  std::int64_t nowMs) const {
    auto doc = m_files->Read(host.dir / "services.ini");
    auto s = doc->FindSection(service);
    if (!s)
        return 0;
    const DWORD state = ToDword(*doc, *s, "State", 1);
    const auto until = std::int64_t(std::strtoll(ToText(*doc, *s, "PendingUntil").c_str(), nullptr, 10));
    if (state == 2 && nowMs >= until) // start pending, phase over
        return 4;
    if (state == 3 && nowMs >= until) // stop pending, phase over
        return 1;
    return state;
}

fs::path SiteDirectory::PipeSocket(const std::string& host, const std::string& pipeName) const {
    std::string bare = BareName(host);
    if (bare.empty() || bare == ".")
        bare = LocalComputer();
    const std::string file = Upper(bare) + "." + Lower(pipeName);
    fs::path path = m_root / "run" / file;
    // Socket paths are short on most systems; long site paths get a folder in /tmp.
    if (path.string().size() > 100) {
        const auto digest = std::hash<std::string>{}(fs::absolute(m_root).string());
        char folder[40];
        std::snprintf(folder, sizeof folder, "cwsite-%016zx", digest);
        path = fs::temp_directory_path() / folder / file;
    }
    return path;
}

FileLock::FileLock(const fs::path& path) {
#ifdef _WIN32
    HANDLE handle = ::CreateFileW(path.wstring().c_str(), GENERIC_READ | GENERIC_WRITE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return;
    OVERLAPPED overlapped{};
    if (!::LockFileEx(handle, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &overlapped)) {
        ::CloseHandle(handle);
        return;
    }
    m_fd = _open_osfhandle(reinterpret_cast<intptr_t>(handle), 0);
#else
    m_fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (m_fd >= 0 && ::flock(m_fd, LOCK_EX) != 0) {
        ::close(m_fd);
        m_fd = -1;
    }
#endif
}

FileLock::~FileLock() {
    if (m_fd < 0)
        return;
#ifdef _WIN32
    _close(m_fd);
#else
    ::flock(m_fd, LOCK_UN);
    ::close(m_fd);
#endif
}

} // namespace OCL::Site
