// The document's registry accessors. They differ in what a failure leaves
// behind, and callers rely on it: every caller presets its output.
#include "core/doc/cwadmindoc.h"

#include "core/app/ansitext.h"

using namespace OCL;

namespace {

// Opens the product key of subkey on computer; Success or the failing code.
LONG OpenProductKey(IRegistry& reg, const QString& computer, const QString& subkey, RegKeyGuard& connection,
                    RegKeyGuard& key) {
    HKEY root = Hkey::LocalMachine;
    if (!computer.isEmpty()) {
        const LONG rc = reg.Connect(CAnsi::FromQString(computer), Hkey::LocalMachine, connection.Out());
        if (rc != Err::Success)
            return rc;
        root = connection.Get();
    }
    return reg.OpenKey(root, CAnsi::FromQString(CRegistry::KeyFor(subkey)), key.Out());
}

} // namespace

bool CCwadminDoc::ReadRegDWORD(const QString& computer, const QString& subkey, const QString& name,
                               DWORD* value) {
    IRegistry& reg = m_env.Registry();
    RegKeyGuard connection(reg), key(reg);
    if (OpenProductKey(reg, computer, subkey, connection, key) != Err::Success) {
        *value = 0;
        return false;
    }
    DWORD data = *value;
    DWORD size = sizeof data;
    if (reg.QueryValue(key.Get(), CAnsi::FromQString(name), nullptr, reinterpret_cast<BYTE*>(&data), &size) !=
        Err::Success)
        return false;
    *value = data;
    return true;
}

bool CCwadminDoc::SetRegDWORD(const QString& computer, const QString& subkey, const QString& name,
                              DWORD value) {
    IRegistry& reg = m_env.Registry();
    RegKeyGuard connection(reg), key(reg);
    if (OpenProductKey(reg, computer, subkey, connection, key) != Err::Success)
        return false;
    return reg.SetValue(key.Get(), CAnsi::FromQString(name), RegType::Dword,
                        reinterpret_cast<const BYTE*>(&value), sizeof value) == Err::Success;
}

bool CCwadminDoc::ReadRegString(const QString& computer, const QString& subkey, const QString& name,
                                QString* value) {
    IRegistry& reg = m_env.Registry();
    RegKeyGuard connection(reg), key(reg);
    if (OpenProductKey(reg, computer, subkey, connection, key) != Err::Success)
        return false;
    char buffer[600];
    DWORD size = sizeof buffer;
    if (reg.QueryValue(key.Get(), CAnsi::FromQString(name), nullptr, reinterpret_cast<BYTE*>(buffer),
                       &size) != Err::Success)
        return false;
    *value = CAnsi::ToQString(CAnsi::FieldText(buffer, size));
    return true;
}

bool CCwadminDoc::SetRegString(const QString& computer, const QString& subkey, const QString& name,
                               const QString& value) {
    IRegistry& reg = m_env.Registry();
    RegKeyGuard connection(reg), key(reg);
    if (OpenProductKey(reg, computer, subkey, connection, key) != Err::Success)
        return false;
    // The length leaves out the terminator, as the service's own writers do.
    const std::string bytes = CAnsi::FromQString(value);
    return reg.SetValue(key.Get(), CAnsi::FromQString(name), RegType::Sz,
                        reinterpret_cast<const BYTE*>(bytes.data()), DWORD(bytes.size())) == Err::Success;
}
