// The document's port and account operations over the RAS access layer.
#include "core/doc/cwadmindoc.h"

#include "core/app/ansitext.h"
#include "ini/inifile.h"

using namespace OCL;

QString CCwadminDoc::PortDetailFile() const {
    return QString::fromStdString(m_env.System().TempPath()) + QStringLiteral("~rrasprt.tmp");
}

BOOL CCwadminDoc::Update_ServerPortDataTemp(int serverIndex, const QString& portName) {
    if (serverIndex < 0 || std::size_t(serverIndex) >= m_servers->GetCount())
        return 0;
    const CServer& server = (*m_servers)[std::size_t(serverIndex)];
    const QString path = QStringLiteral("\\\\") + server.Name();

    if (server.m_rasKind == RasKindValue::Rras) {
        if (!m_rras.Init()) {
            m_env.Prompter().Inform(QStringLiteral("Failed to initialize RRAS interface"),
                                    IPrompter::Icon::Error);
            return 0;
        }
        const std::string file = CAnsi::FromQString(PortDetailFile());
        m_env.Files().WriteString(file, "PS", std::string_view("UserName"), std::string_view("*"));
        const DWORD rc =
            m_rras.CreatePortViewData(CAnsi::FromQString(path), CAnsi::FromQString(portName), file);
        if (rc != 0 && rc != RrasPortViewOk) {
            m_env.Prompter().Inform(
                QStringLiteral("Error %1 when attempting to read RRAS data from port.").arg(rc));
            return 0;
        }
        return 1;
    }

    m_rasFunc->Init();
    RAS_PARAMETERS* parameters = nullptr;
    const DWORD rc = m_rasFunc->PortGetInfo(path, portName, &m_port1, &m_portStatistics, &parameters);
    if (rc != Err::Success) {
        m_env.Prompter().Inform(
            QStringLiteral("Error %1 when attempting to read RAS data from port.").arg(rc));
        return 0;
    }
    if (parameters)
        m_rasFunc->FreeBuffer(parameters);
    return 1;
}

int CCwadminDoc::GetUserRASPrivs(const QString& server, const QString& user) {
    m_rasFunc->Init();
    m_callbackNumber.clear();
    if (m_rasFunc->UserGetInfo(server, user) != Err::Success)
        return 0;
    const RAS_USER_0& account = m_rasFunc->Account();
    m_callbackNumber = QString::fromUtf16(account.szPhoneNumber);
    return account.bfPrivilege;
}

BOOL CCwadminDoc::SetUserRASPrivs(const QString& server, const QString& user, BYTE privileges) {
    m_rasFunc->Init();
    RAS_USER_0& account = m_rasFunc->Account();
    const std::u16string number = CRASFunc::Wide(m_callbackNumber, 100);
    std::fill(std::begin(account.szPhoneNumber), std::end(account.szPhoneNumber), u'\0');
    std::copy(number.begin(), number.end(), account.szPhoneNumber);
    account.bfPrivilege = privileges;
    return m_rasFunc->UserSetInfo(server, user) == Err::Success ? 1 : 0;
}

DWORD CCwadminDoc::DisconnectPort(const QString& serverName, const QString& portName) {
    const int number = GetServerNumberByName(serverName);
    if (number >= 0 && (*m_servers)[std::size_t(number)].m_rasKind == RasKindValue::Rras) {
        m_rras.Init();
        return m_rras.DisconnectPort(CAnsi::FromQString(serverName), CAnsi::FromQString(portName));
    }
    m_rasFunc->Init();
    return m_rasFunc->PortDisconnect(serverName, portName);
}
