#include "core/pages/serversettings.h"

#include "core/app/ansitext.h"
#include "core/doc/cwadmindoc.h"

#include <limits>

using namespace Qt::StringLiterals;
using OCL::DWORD;

namespace {

const QString kService = u"Service"_s;

} // namespace

QString CGeneralSettings::RemoteName(const QString& server) {
    return u"\\\\"_s + server;
}

QString CGeneralSettings::ComputerFromShare(const QString& share) {
    qsizetype start = 0;
    while (start < share.size() && share.at(start) == u'\\')
        ++start;
    const qsizetype end = share.indexOf(u'\\', start);
    return share.mid(start, end < 0 ? -1 : end - start);
}

QString CGeneralSettings::ShareOf(const QString& computer) {
    return u"\\\\%1\\CW_NT_DB"_s.arg(computer);
}

DWORD CGeneralSettings::ParseMinutes(const QString& text) {
    const QString field = text.left(20).trimmed();
    qint64 minutes = 0;
    for (QChar c : field) {
        if (!c.isDigit() || c.unicode() > 0x7F)
            break;
        minutes = std::min<qint64>(minutes * 10 + (c.unicode() - u'0'), std::numeric_limits<qint32>::max());
    }
    return DWORD(minutes);
}

QString CGeneralSettings::InstalledText(const CCwadminDoc& document, DWORD installed) {
    return installed == 0 ? u"Unknown"_s : document.TimeToLocalString(qint64(installed), true);
}

QString CGeneralSettings::ServiceStateText(int state) {
    switch (state) {
    case 1:
        return u"Running"_s;
    case 2:
        return u"Stopped"_s;
    default:
        return u"Unknown"_s;
    }
}

CGeneralSettings CGeneralSettings::Load(CCwadminDoc& document, int number) {
    const QString computer = RemoteName(document.Servers()[std::size_t(number)].Name());
    CGeneralSettings values;

    DWORD master = 0, idle = 0, eventLog = 0, staticIP = 0;
    QString share;
    document.ReadRegDWORD(computer, kService, u"Master"_s, &master);
    document.ReadRegString(computer, kService, u"MasterShare"_s, &share);
    document.ReadRegDWORD(computer, kService, u"IdleTimer"_s, &idle);
    document.ReadRegDWORD(computer, kService, u"LogSessionEventsToEventLog"_s, &eventLog);
    document.ReadRegDWORD(computer, kService, u"StaticIP"_s, &staticIP);
    document.ReadRegString(computer, kService, u"Version"_s, &values.version);
    document.ReadRegDWORD(computer, kService, u"Installed"_s, &values.installed);

    values.primary = master != 0;
    values.masterComputer = ComputerFromShare(share);
    values.idleLimit = idle != 0;
    if (idle != 0)
        values.idleMinutes = QString::number(qint32(idle));
    values.logToEventLog = eventLog != 0;
    values.staticIP = staticIP != 0;
    values.serviceState = document.IsServiceRunning(computer, true);
    return values;
}

void CGeneralSettings::Apply(CCwadminDoc& document, int number) const {
    CServer& server = document.Servers()[std::size_t(number)];
    // The typed name goes into the share as it stands: the service reads the
    // share, and what the administrator typed is what it should be told.
    const QString primaryName = primary ? server.Name() : masterComputer;
    {
        auto lock = server.Lock();
        server.m_master = primary ? 1 : 0;
        CAnsi::CopyToField(server.m_masterShare, CAnsi::FromQString(ShareOf(primaryName)));
        server.m_idleTimer = idleLimit ? ParseMinutes(idleMinutes) : 0;
        server.m_logToEventLog = logToEventLog ? 1 : 0;
        server.m_staticIP = staticIP ? 1 : 0;
    }
    document.SaveServerProperties(number);
}
