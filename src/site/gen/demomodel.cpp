#include "site/gen/demomodel.h"

#include "platform/site/sitedirectory.h"

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const char* const kFirstNames[] = {"anna",  "ben",   "carla", "daniel", "eva",   "frank",  "greta",  "henry",
                                   "irene", "jonas", "karen", "lukas",  "maria", "nils",   "olga",   "peter",
                                   "rita",  "simon", "tanja", "uwe",    "vera",  "walter", "yvonne", "adam",
                                   "bella", "chris", "dora",  "emil",   "fiona", "georg",  "hanna",  "ivan",
                                   "julia", "kurt",  "lena",  "marco",  "nora",  "oskar",  "paula",  "ralf"};
const char* const kSurnames[] = {
    "berger",  "clark", "dorn",   "ellis",  "fisher", "graham", "hale",  "irwin", "jensen", "keller",
    "lang",    "moss",  "norris", "olsen",  "parker", "quinn",  "reed",  "stein", "turner", "ulrich",
    "vogel",   "walsh", "young",  "zimmer", "adler",  "brandt", "cole",  "dietz", "engel",  "foster",
    "gardner", "horn",  "ingram", "jordan", "kraus",  "lowe",   "marsh", "nagel", "ortiz",  "price"};

template <typename T, std::size_t N>
const T& Pick(std::mt19937& rng, const T (&items)[N]) {
    return items[std::uniform_int_distribution<std::size_t>(0, N - 1)(rng)];
}

double Uniform(std::mt19937& rng, double from, double to) {
    return std::uniform_real_distribution<double>(from, to)(rng);
}

qint32 Pack(int a, int b, int c, int d) {
    return qint32(quint32(a) << 24 | quint32(b) << 16 | quint32(c) << 8 | quint32(d));
}

OCL::Site::PortRecord Port(const QString& name, const char* type, const char* device, const char* media,
                           OCL::DWORD speed) {
    OCL::Site::PortRecord p;
    p.name = name.toStdString();
    p.deviceType = type;
    p.deviceName = device;
    p.mediaName = media;
    p.lineSpeed = speed;
    return p;
}

QList<OCL::Site::PortRecord> ModemPorts(int count, std::mt19937& rng) {
    static const char* const kModems[] = {"Standard 28800 bps Modem", "Standard 33600 bps Modem",
                                          "Standard 56000 bps V.90 Modem"};
    static const OCL::DWORD kSpeeds[] = {28800, 33600, 56000};
    QList<OCL::Site::PortRecord> ports;
    for (int i = 1; i <= count; ++i) {
        const int kind = std::uniform_int_distribution<int>(0, 2)(rng);
        ports.append(Port(u"COM%1"_s.arg(i), "modem", kModems[kind], "rasser", kSpeeds[kind]));
    }
    return ports;
}

QList<OCL::Site::PortRecord> VpnPorts(int adapter, int count) {
    QList<OCL::Site::PortRecord> ports;
    for (int i = 0; i < count; ++i)
        ports.append(
            Port(u"VPN%1-%2"_s.arg(adapter).arg(i), "vpn", "VPN Miniport (PPTP)", "rastapi", 10000000));
    return ports;
}

QList<OCL::Site::PortRecord> IsdnPorts(int count) {
    QList<OCL::Site::PortRecord> ports;
    for (int i = 0; i < count; ++i)
        ports.append(Port(u"ISDN1-%1"_s.arg(i), "isdn", "ISDN Adapter Channel", "rastapi", 64000));
    return ports;
}

CDemoServer Server(const char* name, const char* domain, bool rras, int major, int rasType, int biasOffset,
                   int idleTimer, bool staticIp, double peakRate) {
    CDemoServer s;
    s.name = QString::fromLatin1(name);
    s.domain = QString::fromLatin1(domain);
    s.rras = rras;
    s.majorVersion = major;
    s.rasType = rasType;
    s.biasOffset = biasOffset;
    s.idleTimer = idleTimer;
    s.staticIp = staticIp;
    s.peakRate = peakRate;
    return s;
}

CUserProfile Profile(qint64 maxSession, qint64 maxTotal, int periodType, qint64 periodMax, bool noDuplicate) {
    CUserProfile p;
    p.maxSessionTime = maxSession;
    p.maxTotalTime = maxTotal;
    p.periodType = periodType;
    p.periodMax = periodMax;
    p.noDuplicate = noDuplicate;
    return p;
}

// Departments of each domain: name, size, the profile its people get, how often they dial in.
struct Department {
    const char* domain;
    const char* group;
    int size;
    CUserProfile profile;
    double weight;
};

} // namespace

const CDemoServer* CDemoModel::Master() const {
    for (const CDemoServer& server : servers)
        if (server.master)
            return &server;
    return nullptr;
}

QString CDemoModel::MasterShare() const {
    return u"\\\\%1\\CW_NT_DB"_s.arg(Master() ? Master()->name : QString());
}

CPortProfile CDemoModel::PortProfile(const QString& server, const QString& port) const {
    return portProfiles.value((server + u'\\' + port).toUpper());
}

QList<int> CDemoModel::UsersOf(const QString& domain) const {
    QList<int> list;
    for (int i = 0; i < users.size(); ++i)
        if (users[i].domain == domain)
            list.append(i);
    return list;
}

CDemoModel BuildDemoModel(std::mt19937& rng) {
    CDemoModel m;
    m.domains = {
        {u"HEADOFFICE"_s, u"HQDC01"_s, {}, {}},
        {u"SALES"_s, u"SALESDC"_s, {}, {}},
        {u"ENGINEERING"_s, u"ENGDC01"_s, {}, {}},
    };

    // The dial-in servers. The first is the master; BRANCHRAS is out of reach.
    // "RAS Type" is left out where the console's own test (version and names)
    // already tells the kind, and set where it would not.
    m.servers = {
        Server("HQRAS01", "HEADOFFICE", false, 4, -1, 0, 20, true, 5.0),
        Server("HQRAS02", "HEADOFFICE", true, 5, -1, 0, 15, true, 6.0),
        Server("SALESRAS", "SALES", false, 4, 0, 60, 0, false, 3.0),
        Server("BRANCHRAS", "SALES", false, 4, -1, 60, 10, false, 1.5),
        Server("ENGRAS01", "ENGINEERING", true, 4, 1, 360, 30, true, 2.0),
        Server("ENGRAS02", "ENGINEERING", true, 5, 1, 360, 0, true, 3.0),
    };
    m.servers[0].master = true;
    m.servers[0].ports = ModemPorts(16, rng);
    m.servers[1].ports = VpnPorts(1, 16) + IsdnPorts(8);
    m.servers[2].ports = ModemPorts(12, rng);
    m.servers[2].latencyMs = 250; // a slow line to the sales office
    m.servers[2].ports[11].hardwareCondition = 3;
    m.servers[3].ports = ModemPorts(8, rng);
    m.servers[3].reachable = false;
    m.servers[4].ports = ModemPorts(4, rng) + VpnPorts(1, 4);
    m.servers[5].ports = VpnPorts(2, 10) + IsdnPorts(2);

    for (CDemoDomain& d : m.domains) {
        d.computers.append(d.controller);
        for (const CDemoServer& s : std::as_const(m.servers))
            if (s.domain == d.name)
                d.computers.append(s.name);
    }
    m.domains[0].computers.append(m.console);

    const CUserProfile office = Profile(7200, 0, 0, 0, true);
    const CUserProfile field = Profile(14400, 0, 3, 252000, true);
    const Department departments[] = {
        {"HEADOFFICE", "Management", 4, Profile(0, 0, 0, 0, false), 0.6},
        {"HEADOFFICE", "Finance", 5, Profile(3600, 0, 1, 7200, true), 0.7},
        {"HEADOFFICE", "IT Support", 4, Profile(0, 0, 0, 0, false), 0.9},
        {"HEADOFFICE", "Marketing", 8, office, 0.8},
        {"SALES", "Sales Managers", 3, Profile(10800, 0, 2, 72000, true), 1.0},
        {"SALES", "Field Sales", 8, field, 2.5},
        {"SALES", "Inside Sales", 4, office, 0.4},
        {"ENGINEERING", "Developers", 7, Profile(0, 0, 2, 54000, true), 1.2},
        {"ENGINEERING", "Field Engineers", 5, field, 2.0},
        {"ENGINEERING", "QA", 3, office, 0.6},
    };

    QSet<QString> taken;
    for (const CDemoDomain& d : std::as_const(m.domains)) {
        CDemoUser admin;
        admin.domain = d.name;
        admin.name = u"Administrator"_s;
        admin.groups = {u"Domain Admins"_s, u"Remote Users"_s};
        admin.privilege = 8 + 1;
        admin.hasProfile = true;
        admin.profile = Profile(0, 0, 0, 0, false);
        admin.weight = 0.15;
        admin.computer = d.controller;
        m.users.append(admin);
        CDemoUser guest;
        guest.domain = d.name;
        guest.name = u"Guest"_s;
        m.users.append(guest);
    }
    for (const Department& dep : departments) {
        for (int i = 0; i < dep.size; ++i) {
            QString name;
            do {
                const QString first = QString::fromLatin1(Pick(rng, kFirstNames));
                name = first.left(1) + QString::fromLatin1(Pick(rng, kSurnames));
            } while (taken.contains(name));
            taken.insert(name);
            CDemoUser u;
            u.domain = QString::fromLatin1(dep.domain);
            u.name = name;
            u.groups = {QString::fromLatin1(dep.group)};
            u.profile = dep.profile;
            u.weight = dep.weight * Uniform(rng, 0.5, 1.5);
            u.computer = (dep.weight >= 2 ? u"LT-"_s : u"PC-"_s) + name.toUpper().left(12);
            // Most dial in without call-back; some are called back at their own
            // number or at a number set here; a few may not dial in at all.
            const double r = Uniform(rng, 0, 1);
            if (r < 0.08) {
                u.privilege = 0;
            } else {
                u.groups.append(u"Remote Users"_s);
                u.privilege = r < 0.16 ? 8 + 2 : r < 0.3 ? 8 + 4 : 8 + 1;
                if (u.privilege == 10)
                    u.phone = u"555-01%1"_s.arg(std::uniform_int_distribution<int>(10, 99)(rng));
                u.hasProfile = Uniform(rng, 0, 1) > 0.1;
            }
            if (QString::fromLatin1(dep.group) == u"IT Support"_s)
                u.groups.append(u"Domain Admins"_s);
            m.users.append(u);
        }
    }

    // A few special cases the console shows well: static addresses, an account
    // that expires, one with a small total allowance.
    auto dialers = [&m](const QString& domain, const QString& group) {
        QList<int> list;
        for (int i = 0; i < m.users.size(); ++i)
            if (m.users[i].domain == domain && m.users[i].groups.contains(group) && m.users[i].hasProfile &&
                m.users[i].Dials())
                list.append(i);
        return list;
    };
    if (const QList<int> it = dialers(u"HEADOFFICE"_s, u"IT Support"_s); !it.isEmpty())
        m.users[it.front()].profile.staticIp = Pack(10, 1, 200, 10);
    if (const QList<int> mgmt = dialers(u"HEADOFFICE"_s, u"Management"_s); !mgmt.isEmpty())
        m.users[mgmt.front()].profile.staticIp = Pack(192, 168, 77, 10);
    if (const QList<int> dev = dialers(u"ENGINEERING"_s, u"Developers"_s); dev.size() > 1) {
        CDemoUser& contractor = m.users[dev.back()];
        contractor.profile = Profile(3600, 0, 0, 0, true);
        contractor.profile.expiryTime = 14;
        contractor.weight = 1.5;
    }
    if (const QList<int> sales = dialers(u"SALES"_s, u"Inside Sales"_s); !sales.isEmpty()) {
        CDemoUser& trial = m.users[sales.front()];
        trial.profile = Profile(3600, 36000, 0, 0, true);
        trial.weight = 1.8;
    }

    for (CDemoDomain& d : m.domains) {
        d.groups = {u"Domain Users"_s, u"Domain Admins"_s, u"Remote Users"_s};
        for (const Department& dep : departments)
            if (QString::fromLatin1(dep.domain) == d.name)
                d.groups.append(QString::fromLatin1(dep.group));
    }

    auto portProfile = [&m](const QString& server, const QString& port, const CPortProfile& profile) {
        const QString key = (server + u'\\' + port).toUpper();
        m.portProfiles.insert(key, profile);
        m.portProfileOrder.append(server + u'\\' + port);
    };
    CPortProfile p;
    p.maxSessionTime = 1800;
    portProfile(u"HQRAS01"_s, u"COM1"_s, p);
    p = {};
    p.allowedGroups = {u"HEADOFFICE\\"_s};
    p.idleMinutes = 10;
    portProfile(u"HQRAS01"_s, u"COM15"_s, p);
    p = {};
    p.allowedGroups = {u"IT Support"_s, u"Domain Admins"_s};
    p.staticIp = Pack(10, 1, 16, 250);
    portProfile(u"HQRAS01"_s, u"COM16"_s, p);
    p = {};
    p.staticIp = Pack(10, 2, 1, 200);
    p.maxSessionTime = 7200;
    portProfile(u"HQRAS02"_s, u"VPN1-0"_s, p);
    p = {};
    p.allowedGroups = {u"Management"_s, u"Finance"_s};
    portProfile(u"HQRAS02"_s, u"ISDN1-0"_s, p);
    p = {};
    p.maxSessionTime = 3600;
    p.idleMinutes = 5;
    portProfile(u"SALESRAS"_s, u"COM3"_s, p);
    p = {};
    p.allowedGroups = {u"Developers"_s, u"QA"_s};
    portProfile(u"ENGRAS01"_s, u"VPN1-0"_s, p);
    p = {};
    p.maxSessionTime = 5400;
    p.idleMinutes = 15;
    portProfile(u"ENGRAS02"_s, u"ISDN1-0"_s, p);

    m.groupProfiles = {
        {u"HEADOFFICE"_s, u"Finance"_s, 3600, 0, true},
        {u"SALES"_s, u"Field Sales"_s, 14400, 0, false},
        {u"ENGINEERING"_s, u"Field Engineers"_s, 14400, 360000, true},
    };
    m.defaultProfile = Profile(3600, 0, 0, 0, true);
    return m;
}
