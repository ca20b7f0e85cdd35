#pragma once
// A site written as cwsite writes one, and the site modules as the console binds
// them: loaded from the build by their Windows names, entry points by name.

#include "ini/inifile.h"
#include "platform/rassapi.h"
#include "site/sitewriter.h"

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>

#include <dlfcn.h>

#include <string>
#include <tuple>

// "RASSAPI" -> <bin>/RASSAPI.so; null when it cannot be loaded.
inline void* LoadModule(const char* name) {
    const std::string path = std::string(CW_BIN_DIR "/") + name + ".so";
    return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
}

template <typename F>
F Resolve(void* module, const char* name) {
    return reinterpret_cast<F>(dlsym(module, name));
}

inline OCL::Site::PortRecord Port(const std::string& name, const std::string& user = {},
                                  std::int64_t start = 0, const char* ip = "") {
    OCL::Site::PortRecord p;
    p.name = name;
    p.user = user;
    p.domain = user.empty() ? "" : "OSTER";
    p.start = start;
    p.ip = ip;
    return p;
}

// RASSRV, a classic RAS server with two sessions and three idle ports; RTR1, a
// router running RemoteAccess with a session, an idle port and a session with
// overlong names; RTR2 running only Router, RTR3 neither; the hosts that fail in
// each of the ways a call can fail; and PDC, a controller with dial-in rights.
struct TestSite {
    static constexpr OCL::DWORD kStart = 930000000;
    const std::string kLongPort = std::string(70, 'P');
    const std::string kLongUser = std::string(90, 'u');
    QTemporaryDir dir;
    CSiteWriter w{dir.path()};

    TestSite() {
        using namespace OCL;
        using namespace Qt::StringLiterals;
        // Name, kind, RemoteAccess and Router (0 no such service, 1 stopped, 2
        // starting, 4 running), reachable, denying access.
        const std::tuple<const char*, const char*, int, int, bool, bool> hosts[] = {
            {"CONSOLE", "None", 0, 0, true, false}, {"RASSRV", "RAS", 4, 0, true, false},
            {"STOPPED", "RAS", 1, 0, true, false},  {"NOSERVICE", "RAS", 0, 0, true, false},
            {"STARTING", "RAS", 2, 0, true, false}, {"RTR1", "RRAS", 4, 1, true, false},
            {"RTR2", "RRAS", 1, 4, true, false},    {"RTR3", "RRAS", 1, 1, true, false},
            {"GONE", "RAS", 4, 0, false, false},    {"LOCKED", "RAS", 4, 0, true, true},
            {"PDC", "None", 0, 0, true, false},     {"DOWNDC", "None", 0, 0, false, false}};
        for (auto [name, kind, remoteAccess, router, reachable, denied] : hosts) {
            CSiteHostOptions options;
            options.rasKind = QString::fromLatin1(kind);
            options.reachable = reachable;
            options.accessDenied = denied;
            w.AddHost(QString::fromLatin1(name), options);
            if (remoteAccess)
                w.SetService(QString::fromLatin1(name), u"RemoteAccess"_s, remoteAccess);
            if (router)
                w.SetService(QString::fromLatin1(name), u"Router"_s, router);
        }
        w.SetLocalComputer(u"CONSOLE"_s);

        Site::PortRecord com1 = Port("COM1", "alice", kStart, "10.1.2.3");
        com1.computer = "ALICEPC";
        com1.ipx = "00000001:00A0C9112233";
        com1.flags = RasPortFlags::PppClient | RasPortFlags::MessengerPresent;
        w.AddPort(u"RASSRV"_s, com1);
        w.AddPort(u"RASSRV"_s, Port("COM2"));
        w.AddPort(u"RASSRV"_s, Port("COM3", "carol")); // a record without a start is no session
        Site::PortRecord isdn = Port("ISDN1");
        isdn.hardwareCondition = 3;
        w.AddPort(u"RASSRV"_s, isdn);
        Site::PortRecord com10 = Port("COM10", "bob", kStart + 10, "10.1.2.4");
        com10.domain = "BRANCH";
        w.AddPort(u"RASSRV"_s, com10);

        Site::PortRecord vpn = Port("VPN1-1", "alice", kStart, "10.0.0.7");
        vpn.computer = "ALICEPC";
        vpn.crcErr = 3;
        w.AddPort(u"RTR1"_s, vpn);
        Site::PortRecord idle = Port("VPN1-2");
        idle.hardwareCondition = 3;
        w.AddPort(u"RTR1"_s, idle);
        w.AddPort(u"RTR1"_s, Port(kLongPort, kLongUser, kStart + 1, "192.168.200.254"));
        w.AddPort(u"RTR2"_s, Port("PPTP1", "bob", kStart + 2, "172.16.5.1"));
        w.AddPort(u"RTR3"_s, Port("VPN1"));

        w.SetRasUser(u"PDC"_s, u"alice"_s, RasPriv::DialinPrivilege | RasPriv::NoCallback);
        w.SetRasUser(u"PDC"_s, u"Bob"_s, RasPriv::DialinPrivilege | RasPriv::AdminSetCallback, u"555-1234"_s);
        w.Save();
        // A start that stays pending for the next hour.
        Ini::Files().WriteString(w.HostPath(u"STARTING"_s).toStdString() + "/services.ini", "RemoteAccess",
                                 "PendingUntil",
                                 std::to_string(QDateTime::currentMSecsSinceEpoch() + 3600 * 1000));
    }
    QByteArray Root() const { return QFile::encodeName(dir.path()); }
    QByteArray Bytes(const QString& relative) const {
        QFile file(dir.filePath(relative));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    std::vector<OCL::Site::PortRecord> Ports(const char* host) const {
        const OCL::Site::SiteDirectory site(dir.path().toStdString());
        return site.ReadPorts(*site.FindHost(host));
    }
};
