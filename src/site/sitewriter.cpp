#include "site/sitewriter.h"

#include "ini/inifile.h"
#include "platform/ansi.h"
#include "platform/site/reghive.h"
#include "platform/site/regparser.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;
using OCL::Site::CRegHive;
using OCL::Site::RegNode;

const QString CSiteWriter::kServiceKey =
    u"HKEY_LOCAL_MACHINE\\Software\\Osterline Technologies\\Callwarden\\Service"_s;
const QString CSiteWriter::kClientKey =
    u"HKEY_LOCAL_MACHINE\\Software\\Osterline Technologies\\Callwarden\\Client"_s;
const QString CSiteWriter::kServersKey =
    u"HKEY_LOCAL_MACHINE\\Software\\Osterline Technologies\\Callwarden\\Servers"_s;

namespace {

std::string Ansi(const QString& text) {
    return OCL::Ansi::FromUtf8(text.toStdString());
}

fs::path Fs(const QString& path) {
    return fs::path(path.toStdString());
}

QString NetworkKey(const QString& section, const QString& key) {
    return section + u'\n' + key;
}

bool Contains(const QStringList& list, const QString& name) {
    return list.contains(name, Qt::CaseInsensitive);
}

void AddOnce(QStringList& list, const QString& name) {
    if (!name.isEmpty() && !Contains(list, name))
        list.append(name);
}

// "HKEY_LOCAL_MACHINE\A\B" -> the root's canonical name and the key names below it.
bool SplitKeyPath(const QString& keyPath, std::string* root, std::vector<std::string>* path) {
    const QStringList parts = keyPath.split(u'\\', Qt::SkipEmptyParts);
    if (parts.isEmpty())
        return false;
    *root = CRegHive::CanonicalRoot(Ansi(parts.front()));
    path->clear();
    for (qsizetype i = 1; i < parts.size(); ++i)
        path->push_back(Ansi(parts[i]));
    return !root->empty();
}

RegNode* MakeKey(CRegHive& hive, const std::string& root, const std::vector<std::string>& path) {
    RegNode* node = hive.AddRoot(root);
    for (const std::string& name : path) {
        if (!node)
            return nullptr;
        node = &node->AddSubkey(name);
    }
    return node;
}

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The hive as the host's file holds it now; empty when there is no file.
bool LoadHive(const fs::path& file, CRegHive* hive, QString* error) {
    std::error_code ec;
    if (!fs::exists(file, ec)) {
        *hive = CRegHive();
        return true;
    }
    OCL::Site::RegParseResult parsed = OCL::Site::ParseRegistryText(ReadFile(file));
    if (!parsed.ok) {
        if (error)
            *error = QString::fromStdString(file.string()) + u", line "_s +
                     QString::number(parsed.errorLine) + u": "_s + QString::fromStdString(parsed.error);
        return false;
    }
    *hive = std::move(parsed.hive);
    return true;
}

} // namespace

CSiteWriter::CSiteWriter(const QString& root)
    : m_root(QFileInfo(root).absoluteFilePath()), m_files(std::make_shared<OCL::Ini::Files>()) {
    QDir().mkpath(m_root);
}

CSiteWriter::~CSiteWriter() = default;

// ---- site.ini and hosts ----------------------------------------------------

void CSiteWriter::SetLocalComputer(const QString& name) {
    SetSiteValue(u"Site"_s, u"LocalComputer"_s, name);
}

void CSiteWriter::SetSiteValue(const QString& section, const QString& key, const QString& value) {
    SetIniValue(u"site.ini"_s, section, key, value);
}

QString CSiteWriter::HostPath(const QString& host) const {
    const QString bare = host.startsWith(u"\\\\"_s) ? host.mid(2) : host;
    const QDir hosts(m_root + u"/hosts"_s);
    for (const QString& entry : hosts.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        if (entry.compare(bare, Qt::CaseInsensitive) == 0)
            return hosts.filePath(entry);
    return hosts.filePath(bare);
}

void CSiteWriter::AddHost(const QString& name, const HostOptions& options) {
    QDir().mkpath(HostPath(name));
    SetHostValue(name, u"Reachable"_s, options.reachable ? u"1"_s : u"0"_s);
    SetHostValue(name, u"AccessDenied"_s, options.accessDenied ? u"1"_s : u"0"_s);
    SetHostValue(name, u"LatencyMs"_s, QString::number(options.latencyMs));
    SetHostValue(name, u"RasKind"_s, options.rasKind);
    SetHostValue(name, u"PlatformId"_s, QString::number(options.platformId));
    SetHostValue(name, u"MajorVersion"_s, QString::number(options.majorVersion));
    SetHostValue(name, u"MinorVersion"_s, QString::number(options.minorVersion));
    SetHostValue(name, u"BuildNumber"_s, QString::number(options.buildNumber));
}

void CSiteWriter::SetHostValue(const QString& host, const QString& key, const QString& value) {
    SetIniValue(QDir(m_root).relativeFilePath(HostPath(host) + u"/host.ini"_s), u"Host"_s, key, value);
}

// ---- registry ----------------------------------------------------------------

CRegHive& CSiteWriter::Hive(const QString& host) {
    const QString id = host.toUpper();
    auto it = m_hives.find(id);
    if (it == m_hives.end()) {
        auto hive = std::make_shared<CRegHive>();
        QString error;
        if (!LoadHive(Fs(HostPath(host) + u"/registry.reg"_s), hive.get(), &error))
            m_errors.append(error);
        it = m_hives.insert(id, hive);
    }
    return **it;
}

void CSiteWriter::ChangeRegistry(const QString& host, const QString& keyPath,
                                 const std::function<void(RegNode&)>& change) {
    std::string root;
    std::vector<std::string> path;
    if (!SplitKeyPath(keyPath, &root, &path)) {
        m_errors.append(u"%1 does not begin with a registry root."_s.arg(keyPath));
        return;
    }
    auto apply = [root, path, change](CRegHive& hive) {
        if (RegNode* node = MakeKey(hive, root, path))
            change(*node);
    };
    apply(Hive(host));
    m_regChanges[host.toUpper()].append(apply);
}

void CSiteWriter::CreateRegKey(const QString& host, const QString& keyPath) {
    ChangeRegistry(host, keyPath, [](RegNode&) {});
}

void CSiteWriter::SetRegString(const QString& host, const QString& keyPath, const QString& name,
                               const QString& text) {
    std::string data = Ansi(text);
    data.push_back('\0');
    SetRegRaw(host, keyPath, name, OCL::RegType::Sz, QByteArray(data.data(), qsizetype(data.size())));
}

void CSiteWriter::SetRegDword(const QString& host, const QString& keyPath, const QString& name,
                              quint32 value) {
    QByteArray data(4, '\0');
    for (int i = 0; i < 4; ++i)
        data[i] = char((value >> (8 * i)) & 0xFF);
    SetRegRaw(host, keyPath, name, OCL::RegType::Dword, data);
}

void CSiteWriter::SetRegRaw(const QString& host, const QString& keyPath, const QString& name, quint32 type,
                            const QByteArray& data) {
    const std::string valueName = Ansi(name);
    const std::string bytes = data.toStdString();
    ChangeRegistry(host, keyPath,
                   [valueName, type, bytes](RegNode& node) { node.SetValue(valueName, type, bytes); });
}

void CSiteWriter::DeleteRegValue(const QString& host, const QString& keyPath, const QString& name) {
    const std::string valueName = Ansi(name);
    ChangeRegistry(host, keyPath, [valueName](RegNode& node) { node.RemoveValue(valueName); });
}

void CSiteWriter::SetServiceString(const QString& host, const QString& name, const QString& text) {
    SetRegString(host, kServiceKey, name, text);
}

void CSiteWriter::SetServiceDword(const QString& host, const QString& name, quint32 value) {
    SetRegDword(host, kServiceKey, name, value);
}

void CSiteWriter::AddMonitoredServer(const QString& consoleHost, const QString& server) {
    CreateRegKey(consoleHost, kServersKey + u'\\' + server);
}

void CSiteWriter::SetClientDword(const QString& consoleHost, const QString& name, quint32 value) {
    SetRegDword(consoleHost, kClientKey, name, value);
}

void CSiteWriter::SetClientString(const QString& consoleHost, const QString& name, const QString& text) {
    SetRegString(consoleHost, kClientKey, name, text);
}

// ---- services, ports, RAS rights --------------------------------------------

void CSiteWriter::SetService(const QString& host, const QString& service, int state, int startPendingMs,
                             int stopPendingMs) {
    const QString file = QDir(m_root).relativeFilePath(HostPath(host) + u"/services.ini"_s);
    SetIniValue(file, service, u"State"_s, QString::number(state));
    SetIniValue(file, service, u"StartPendingMs"_s, QString::number(startPendingMs));
    SetIniValue(file, service, u"StopPendingMs"_s, QString::number(stopPendingMs));
    SetIniValue(file, service, u"PendingUntil"_s, u"0"_s);
}

void CSiteWriter::AddPort(const QString& host, const OCL::Site::PortRecord& port) {
    QList<OCL::Site::PortRecord>& ports = m_ports[host.toUpper()];
    for (OCL::Site::PortRecord& existing : ports)
        if (OCL::Site::SameName(existing.name, port.name)) {
            existing = port;
            return;
        }
    ports.append(port);
}

void CSiteWriter::SetRasUser(const QString& controller, const QString& account, int privilege,
                             const QString& phone) {
    const QString file = QDir(m_root).relativeFilePath(HostPath(controller) + u"/rasusers.ini"_s);
    SetIniValue(file, account, u"Privilege"_s, QString::number(privilege));
    SetIniValue(file, account, u"Phone"_s, phone);
}

// ---- network.ini ---------------------------------------------------------------

QStringList CSiteWriter::NetworkList(const QString& section, const QString& key) {
    const QString id = NetworkKey(section, key);
    auto it = m_networkLists.find(id);
    if (it != m_networkLists.end())
        return *it;
    // Lists the file already holds are extended, not replaced.
    const std::string text =
        m_files->GetString(Fs(m_root + u"/network.ini"_s), Ansi(section), Ansi(key), std::string_view());
    QStringList items;
    for (const QString& item : QString::fromStdString(OCL::Ansi::ToUtf8(text)).split(u','))
        if (!item.trimmed().isEmpty())
            items.append(item.trimmed());
    m_networkLists.insert(id, items);
    return items;
}

void CSiteWriter::NoteNetworkSection(const QString& section) {
    AddOnce(m_networkSections, section);
    m_networkChanged = true;
}

void CSiteWriter::SetPrimaryDomain(const QString& domain) {
    NoteNetworkSection(u"Network"_s);
    m_networkLists.insert(NetworkKey(u"Network"_s, u"PrimaryDomain"_s), {domain});
}

void CSiteWriter::AddProvider(const QString& provider) {
    const QString section = u"Provider:"_s + provider;
    NoteNetworkSection(section);
    m_networkLists.insert(NetworkKey(section, u"Domains"_s), NetworkList(section, u"Domains"_s));
}

void CSiteWriter::AddDomain(const QString& domain, const QString& controller, const QString& provider) {
    AddProvider(provider);
    const QString providerSection = u"Provider:"_s + provider;
    QStringList domains = NetworkList(providerSection, u"Domains"_s);
    AddOnce(domains, domain);
    m_networkLists.insert(NetworkKey(providerSection, u"Domains"_s), domains);

    const QString section = u"Domain:"_s + domain;
    NoteNetworkSection(section);
    if (!controller.isEmpty()) {
        m_networkLists.insert(NetworkKey(section, u"Controller"_s), {controller});
        QStringList computers = NetworkList(section, u"Computers"_s);
        AddOnce(computers, controller);
        m_networkLists.insert(NetworkKey(section, u"Computers"_s), computers);
    }
}

void CSiteWriter::AddComputer(const QString& domain, const QString& computer, bool dialinServer) {
    const QString section = u"Domain:"_s + domain;
    NoteNetworkSection(section);
    QStringList computers = NetworkList(section, u"Computers"_s);
    AddOnce(computers, computer);
    m_networkLists.insert(NetworkKey(section, u"Computers"_s), computers);
    if (dialinServer) {
        QStringList servers = NetworkList(section, u"DialinServers"_s);
        AddOnce(servers, computer);
        m_networkLists.insert(NetworkKey(section, u"DialinServers"_s), servers);
    }
}

void CSiteWriter::AddGroup(const QString& domain, const QString& group, const QStringList& members) {
    const QString section = u"Domain:"_s + domain;
    NoteNetworkSection(section);
    QStringList groups = NetworkList(section, u"Groups"_s);
    AddOnce(groups, group);
    m_networkLists.insert(NetworkKey(section, u"Groups"_s), groups);

    const QString groupSection = u"Group:%1\\%2"_s.arg(domain, group);
    NoteNetworkSection(groupSection);
    QStringList all = NetworkList(groupSection, u"Members"_s);
    for (const QString& member : members)
        AddOnce(all, member);
    m_networkLists.insert(NetworkKey(groupSection, u"Members"_s), all);
}

void CSiteWriter::AddUser(const QString& domain, const QString& user) {
    const QString section = u"Domain:"_s + domain;
    NoteNetworkSection(section);
    QStringList users = NetworkList(section, u"Users"_s);
    AddOnce(users, user);
    m_networkLists.insert(NetworkKey(section, u"Users"_s), users);
}

void CSiteWriter::AddLocalGroup(const QString& domain, const QString& group) {
    const QString section = u"Domain:"_s + domain;
    NoteNetworkSection(section);
    QStringList groups = NetworkList(section, u"LocalGroups"_s);
    AddOnce(groups, group);
    m_networkLists.insert(NetworkKey(section, u"LocalGroups"_s), groups);
}

// ---- shares --------------------------------------------------------------------

QString CSiteWriter::SharePath(const QString& host, const QString& share) {
    const QString path = HostPath(host) + u"/shares/"_s + share;
    QDir().mkpath(path);
    return path;
}

void CSiteWriter::WriteShareFile(const QString& host, const QString& share, const QString& relativePath,
                                 const QByteArray& bytes) {
    QString relative = relativePath;
    relative.replace(u'\\', u'/');
    m_shareFiles.insert(SharePath(host, share) + u'/' + relative, bytes);
}

// ---- saving --------------------------------------------------------------------

void CSiteWriter::SetIniValue(const QString& relativeFile, const QString& section, const QString& key,
                              const QString& value) {
    auto& sections = m_iniFiles[relativeFile];
    for (auto& [name, keys] : sections) {
        if (name.compare(section, Qt::CaseInsensitive) != 0)
            continue;
        for (auto& [existingKey, existingValue] : keys)
            if (existingKey.compare(key, Qt::CaseInsensitive) == 0) {
                existingValue = value;
                return;
            }
        keys.append({key, value});
        return;
    }
    sections.append({section, {{key, value}}});
}

bool CSiteWriter::SaveRegistry(const QString& host, QString* error) {
    QDir().mkpath(HostPath(host));
    const fs::path file = Fs(HostPath(host) + u"/registry.reg"_s);
    OCL::Site::FileLock lock(Fs(HostPath(host) + u"/registry.lock"_s));
    auto hive = std::make_shared<CRegHive>();
    if (!LoadHive(file, hive.get(), error))
        return false;
    for (const auto& change : m_regChanges.value(host))
        change(*hive);
    std::string why;
    if (!m_files->WriteAll(file, hive->Serialize(), &why)) {
        if (error)
            *error = QString::fromStdString(why);
        return false;
    }
    m_hives.insert(host, hive);
    return true;
}

bool CSiteWriter::SaveNetwork(QString* error) {
    // [Network] first, then providers, domains and groups, each in the order named.
    QStringList ordered;
    for (const QString& prefix : {u"Network"_s, u"Provider:"_s, u"Domain:"_s, u"Group:"_s})
        for (const QString& section : std::as_const(m_networkSections))
            if (section.startsWith(prefix, Qt::CaseInsensitive))
                ordered.append(section);
    // Keys in the order the format describes them, any others after.
    static const QStringList kKeyOrder = {
        u"PrimaryDomain"_s, u"Domains"_s, u"Controller"_s, u"BackupControllers"_s, u"Computers"_s,
        u"DialinServers"_s, u"Users"_s,   u"Groups"_s,     u"LocalGroups"_s,       u"Members"_s};
    auto rank = [](const QString& key) {
        const qsizetype index = kKeyOrder.indexOf(key);
        return index < 0 ? kKeyOrder.size() : index;
    };
    OCL::Ini::Edit edit;
    for (const QString& section : std::as_const(ordered)) {
        const QString prefix = section + u'\n';
        QList<QPair<QString, QStringList>> keys;
        for (auto it = m_networkLists.constBegin(); it != m_networkLists.constEnd(); ++it)
            if (it.key().startsWith(prefix))
                keys.append({it.key().mid(prefix.size()), it.value()});
        std::stable_sort(keys.begin(), keys.end(),
                         [&rank](const auto& a, const auto& b) { return rank(a.first) < rank(b.first); });
        for (const auto& [key, list] : keys)
            edit.Set(Ansi(section), Ansi(key), Ansi(list.join(u',')));
    }
    std::string why;
    if (!m_files->Apply(Fs(m_root + u"/network.ini"_s), edit, &why)) {
        if (error)
            *error = QString::fromStdString(why);
        return false;
    }
    m_networkChanged = false;
    return true;
}

bool CSiteWriter::Save(QString* error) {
    QStringList errors = m_errors;
    m_errors.clear();
    QDir().mkpath(m_root);

    for (auto file = m_iniFiles.constBegin(); file != m_iniFiles.constEnd(); ++file) {
        const QString path = QDir(m_root).filePath(file.key());
        QDir().mkpath(QFileInfo(path).absolutePath());
        OCL::Ini::Edit edit;
        for (const auto& [section, keys] : file.value())
            for (const auto& [key, value] : keys)
                edit.Set(Ansi(section), Ansi(key), Ansi(value));
        // The console and cwsite serve change services.ini under this lock too.
        std::unique_ptr<OCL::Site::FileLock> lock;
        if (file.key().endsWith(u"/services.ini"_s))
            lock = std::make_unique<OCL::Site::FileLock>(
                Fs(QFileInfo(path).absolutePath() + u"/services.lock"_s));
        std::string why;
        if (!m_files->Apply(Fs(path), edit, &why))
            errors.append(u"%1: %2"_s.arg(path, QString::fromStdString(why)));
    }
    m_iniFiles.clear();

    for (const QString& host : m_regChanges.keys()) {
        QString why;
        if (!SaveRegistry(host, &why))
            errors.append(why);
    }
    m_regChanges.clear();

    if (!m_ports.isEmpty()) {
        OCL::Site::SiteDirectory site(Fs(m_root));
        for (auto it = m_ports.constBegin(); it != m_ports.constEnd(); ++it) {
            const QString dir = HostPath(it.key());
            QDir().mkpath(dir);
            const auto host = site.FindHost(it.key().toStdString());
            if (!host) {
                errors.append(u"%1: no such host folder"_s.arg(dir));
                continue;
            }
            const QList<OCL::Site::PortRecord> added = it.value();
            const bool ok = site.EditPorts(*host, [&added](std::vector<OCL::Site::PortRecord>& ports) {
                for (const OCL::Site::PortRecord& port : added) {
                    auto same =
                        std::find_if(ports.begin(), ports.end(), [&port](const OCL::Site::PortRecord& p) {
                            return OCL::Site::SameName(p.name, port.name);
                        });
                    if (same != ports.end())
                        *same = port;
                    else
                        ports.push_back(port);
                }
                return true;
            });
            if (!ok)
                errors.append(u"%1/ports.ini could not be written"_s.arg(dir));
        }
        m_ports.clear();
    }

    if (m_networkChanged) {
        QString why;
        if (!SaveNetwork(&why))
            errors.append(why);
    }

    for (auto it = m_shareFiles.constBegin(); it != m_shareFiles.constEnd(); ++it) {
        QDir().mkpath(QFileInfo(it.key()).absolutePath());
        std::string why;
        if (!m_files->WriteAll(
                Fs(it.key()), std::string_view(it.value().constData(), std::size_t(it.value().size())), &why))
            errors.append(u"%1: %2"_s.arg(it.key(), QString::fromStdString(why)));
    }
    m_shareFiles.clear();

    if (error)
        *error = errors.join(u'\n');
    return errors.isEmpty();
}
