#pragma once
// Reads and writes the service's configuration values in a server's registry
// (an empty server name means this computer) and decides which kind of RAS a
// server runs. Never reports to the user except GetOSVersion for this computer.

#include "core/app/environment.h"

#include <QString>

#include <string>

using OCL::BOOL;
using OCL::DWORD;

inline constexpr const char* kProductKey = "Software\\Osterline Technologies\\Callwarden\\%s";
inline constexpr const char* kServiceKey = "Software\\Osterline Technologies\\Callwarden\\Service";

class CRegistry {
public:
    explicit CRegistry(const CEnvironment& environment) : m_env(environment) {}

    // 1 with the value stored; on any failure 0 is stored and 0 returned.
    BOOL ReadDWORD(const QString& server, const QString& section, const QString& name, DWORD* value) const;
    // Writes into an existing key only.
    BOOL SetDWORD(const QString& server, const QString& section, const QString& name, DWORD value) const;
    // Reads through a 600-byte buffer; *value is untouched on failure. A stored
    // string without terminator reads as its bytes.
    BOOL ReadString(const QString& server, const QString& section, const QString& name,
                    std::string* value) const;
    // REG_SZ whose length is the text's length without the terminator, as the
    // service's other writers do; readers cope with the missing terminator.
    BOOL SetString(const QString& server, const QString& section, const QString& name,
                   const QString& text) const;

    // 1 for Routing and RAS, 0 for classic RAS.
    BOOL IsRRAS(const QString& server) const;
    // The Windows NT version of a named server (0.0 when unreadable), or of this
    // computer when server is empty.
    double GetOSVersion(const QString& server) const;

    static QString KeyFor(const QString& section);

private:
    // Opens the product key of section on server (connecting when named).
    OCL::LONG Open(const QString& server, const QString& section, OCL::RegKeyGuard& connection,
                   OCL::RegKeyGuard& key) const;
    // Reads a string value of at most size bytes from subKey of an open root.
    bool ReadText(OCL::HKEY root, const char* subKey, const char* name, OCL::DWORD size,
                  std::string* value) const;

    const CEnvironment& m_env;
};
