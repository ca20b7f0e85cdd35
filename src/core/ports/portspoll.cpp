#include "core/ports/portspoll.h"

#include "core/app/ansitext.h"
#include "core/ports/portsviewfile.h"
#include "core/ras/rasfunc.h"
#include "core/ras/rraslibrary.h"
#include "platform/ansi.h"

#include <cstring>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace {

// Wide texts reach the file as the ANSI code page has them.
QString Narrow(const WCHAR* text) {
    return CAnsi::ToQString(Ansi::FromUtf16(std::u16string_view(text)));
}

} // namespace

QString PortUserText(const QString& domain, const QString& user) {
    if (domain.isEmpty() && user.isEmpty())
        return {};
    return domain + u'\\' + user;
}

QString DottedAddress(quint32 packed) {
    return u"%1.%2.%3.%4"_s.arg(int(packed >> 24))
        .arg(int((packed >> 16) & 0xFF))
        .arg(int((packed >> 8) & 0xFF))
        .arg(int(packed & 0xFF));
}

void PortsViewCheckPorts(CRASFunc& rasFunc, const QString& server, CPortsViewFile& file) {
    rasFunc.Init();
    const QString path = u"\\\\"_s + server;
    RAS_PORT_0* ports = nullptr;
    WORD count = 0;
    if (rasFunc.PortEnum(path, &ports, &count) != Err::Success || !ports) {
        if (ports)
            rasFunc.FreeBuffer(ports);
        return;
    }
    for (WORD i = 0; i < count; ++i) {
        const RAS_PORT_0& port = ports[i];
        const QString name = Narrow(port.wszPortName);
        file.WriteUser(name, PortUserText(Narrow(port.wszLogonDomain), Narrow(port.wszUserName)));
        file.WriteStart(name, qint32(port.dwStartSessionTime));

        RAS_PORT_1 detail{};
        RAS_PORT_STATISTICS statistics{};
        RAS_PARAMETERS* parameters = nullptr;
        if (rasFunc.PortGetInfo(path, name, &detail, &statistics, &parameters) == Err::Success)
            file.WriteIp(name, Narrow(detail.ProjResult.ip.wszAddress));
        if (parameters)
            rasFunc.FreeBuffer(parameters);
    }
    rasFunc.FreeBuffer(ports);
}

void RRAS_PortsViewCheckPorts(CRrasLibrary& rras, IPrompter& prompter, const QString& server,
                              CPortsViewFile& file) {
    if (!rras.Init()) {
        prompter.Inform(u"Failed to initialize RRAS interface"_s, IPrompter::Icon::Error);
        return;
    }
    const std::string path = CAnsi::FromQString(u"\\\\"_s + server);
    DWORD entries = 0;
    if (!rras.UpdatePortData(path, &entries))
        return;
    for (DWORD i = 0; i < entries; ++i) {
        char name[RrasLen::PortName] = {};
        char user[RrasLen::User] = {};
        DWORD address = 0;
        DWORD start = 0;
        rras.GetPortData(i, name, user, &address, &start);
        const QString port = CAnsi::ToQString(CAnsi::FieldText(name));
        file.WriteUser(port, CAnsi::ToQString(CAnsi::FieldText(user)));
        file.WriteStart(port, qint32(start));
        file.WriteIp(port, address ? DottedAddress(address) : QString());
    }
}
