#pragma once
// What the settings tests share: a small network (the master PDC1 and RAS2,
// which talks to it), recorders put between the console and the site's
// registry, pipe and shell, and reads of a server's "Service" values straight
// from the site.

#include "platform/platform.h"
#include "support/testconsole.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <cstring>
#include <functional>
#include <memory>
#include <optional>

inline const QString kMaster = QStringLiteral("PDC1");
inline const QString kMember = QStringLiteral("RAS2");

// Remembers every value written, then writes it to the site.
class CRecordingRegistry final : public OCL::IRegistry {
public:
    explicit CRecordingRegistry(std::unique_ptr<OCL::IRegistry> inner) : m_inner(std::move(inner)) {}

    QStringList written; // value names, in the order of the writes

    OCL::LONG Connect(const std::string& machine, OCL::HKEY predefined, OCL::HKEY* result) override {
        return m_inner->Connect(machine, predefined, result);
    }
    OCL::LONG OpenKey(OCL::HKEY key, const std::string& subKey, OCL::HKEY* result) override {
        return m_inner->OpenKey(key, subKey, result);
    }
    OCL::LONG CreateKey(OCL::HKEY key, const std::string& subKey, OCL::HKEY* result) override {
        return m_inner->CreateKey(key, subKey, result);
    }
    OCL::LONG QueryValue(OCL::HKEY key, const std::string& name, OCL::DWORD* type, OCL::BYTE* data,
                         OCL::DWORD* size) override {
        return m_inner->QueryValue(key, name, type, data, size);
    }
    OCL::LONG SetValue(OCL::HKEY key, const std::string& name, OCL::DWORD type, const OCL::BYTE* data,
                       OCL::DWORD size) override {
        written.append(QString::fromStdString(name));
        return m_inner->SetValue(key, name, type, data, size);
    }
    OCL::LONG DeleteValue(OCL::HKEY key, const std::string& name) override {
        return m_inner->DeleteValue(key, name);
    }
    OCL::LONG DeleteKey(OCL::HKEY key, const std::string& subKey) override {
        return m_inner->DeleteKey(key, subKey);
    }
    OCL::LONG EnumKey(OCL::HKEY key, OCL::DWORD index, char* name, OCL::DWORD cchName) override {
        return m_inner->EnumKey(key, index, name, cchName);
    }
    OCL::LONG CloseKey(OCL::HKEY key) override { return m_inner->CloseKey(key); }

private:
    std::unique_ptr<OCL::IRegistry> m_inner;
};

// Remembers every request and how the site answered it.
class CRecordingPipe final : public OCL::IServicePipe {
public:
    struct Call {
        QString pipe;
        QByteArray request;
        OCL::DWORD result;
    };
    explicit CRecordingPipe(std::unique_ptr<OCL::IServicePipe> inner) : m_inner(std::move(inner)) {}

    QList<Call> calls;

    OCL::DWORD Call(const std::string& pipeName, const void* request, OCL::DWORD requestSize, void* reply,
                    OCL::DWORD replySize, OCL::DWORD* bytesRead, OCL::DWORD timeoutMs) override {
        const OCL::DWORD rc =
            m_inner->Call(pipeName, request, requestSize, reply, replySize, bytesRead, timeoutMs);
        calls.append({QString::fromStdString(pipeName),
                      QByteArray(static_cast<const char*>(request), qsizetype(requestSize)), rc});
        return rc;
    }

private:
    std::unique_ptr<OCL::IServicePipe> m_inner;
};

// Remembers what would be opened; opens nothing.
class CRecordingShell final : public OCL::IShell {
public:
    QStringList opened;
    OCL::DWORD Exec(const std::string&, int) override { return 0; }
    OCL::DWORD Open(const std::string&, const std::string& target) override {
        opened.append(QString::fromStdString(target));
        return 0;
    }
};

// The test network; extra changes the site before it is saved.
class CSettingsSite {
public:
    explicit CSettingsSite(const std::function<void(CSiteWriter&)>& extra = {})
        : console([&extra](CSiteWriter& writer) {
              CTestConsole::AddServer(writer, kMaster, QStringLiteral("RAS"), QStringLiteral("4.0"), 2, true);
              CTestConsole::AddServer(writer, kMember, QStringLiteral("RRAS"), QStringLiteral("5.0"), 2,
                                      false, kMaster);
              if (extra)
                  extra(writer);
          }) {
        OCL::Platform& platform = console.Platform();
        auto registryRecorder = std::make_unique<CRecordingRegistry>(std::move(platform.registry));
        registry = registryRecorder.get();
        platform.registry = std::move(registryRecorder);
        auto pipeRecorder = std::make_unique<CRecordingPipe>(std::move(platform.pipe));
        pipe = pipeRecorder.get();
        platform.pipe = std::move(pipeRecorder);
        auto shellRecorder = std::make_unique<CRecordingShell>();
        shell = shellRecorder.get();
        platform.shell = std::move(shellRecorder);
    }

    CCwadminDoc& Doc() { return console.Doc(); }
    int Number(const QString& server) { return console.Doc().GetServerNumberByName(server); }

    // A value of the server's "Service" key as the site holds it; nullopt when missing.
    std::optional<OCL::DWORD> Dword(const QString& server, const char* name) {
        const std::optional<QByteArray> data = Raw(server, name);
        if (!data || data->size() != 4)
            return std::nullopt;
        OCL::DWORD value = 0;
        std::memcpy(&value, data->constData(), 4);
        return value;
    }
    std::optional<QString> String(const QString& server, const char* name) {
        const std::optional<QByteArray> data = Raw(server, name);
        if (!data)
            return std::nullopt;
        const qsizetype end = data->indexOf('\0');
        return QString::fromLatin1(end < 0 ? *data : data->left(end));
    }

    CTestConsole console;
    CRecordingRegistry* registry = nullptr;
    CRecordingPipe* pipe = nullptr;
    CRecordingShell* shell = nullptr;

private:
    std::optional<QByteArray> Raw(const QString& server, const char* name) {
        OCL::IRegistry& reg = console.Environment().Registry();
        OCL::RegKeyGuard connection(reg), key(reg);
        if (reg.Connect("\\\\" + server.toStdString(), OCL::Hkey::LocalMachine, connection.Out()) != 0 ||
            reg.OpenKey(connection.Get(), "Software\\Osterline Technologies\\Callwarden\\Service",
                        key.Out()) != 0)
            return std::nullopt;
        QByteArray data(600, '\0');
        OCL::DWORD size = OCL::DWORD(data.size());
        if (reg.QueryValue(key.Get(), name, nullptr, reinterpret_cast<OCL::BYTE*>(data.data()), &size) != 0)
            return std::nullopt;
        data.truncate(qsizetype(size));
        return data;
    }
};
