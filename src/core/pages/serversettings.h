#pragma once
// The "General" settings of the service on one monitored server: primary server
// or the primary's computer name, idle time-out, event logging, static IP
// assignment, and the read-only status (version, installation time, service
// state). Read from the server's "Service" key; written through the document's
// server-settings save, which also tells the service to reread them.

#include "platform/types.h"

#include <QString>

class CCwadminDoc;

struct CGeneralSettings {
    bool primary = false;
    QString masterComputer; // the primary's computer name, as in the edit
    bool idleLimit = false;
    QString idleMinutes; // the edit's text
    bool logToEventLog = false;
    bool staticIP = false;

    // Read only.
    QString version;
    OCL::DWORD installed = 0;
    int serviceState = 0; // the document's answer: 0 unknown, 1 running, 2 not running

    // Reads the page's values on server number (which must exist).
    static CGeneralSettings Load(CCwadminDoc& document, int number);
    // Stores the values in the server's record and saves them on the server.
    void Apply(CCwadminDoc& document, int number) const;

    // The computer of a data share: leading backslashes skipped, cut at the next one.
    static QString ComputerFromShare(const QString& share);
    // "\\<computer>\CW_NT_DB".
    static QString ShareOf(const QString& computer);
    // The minutes edit: at most 20 characters, decimal.
    static OCL::DWORD ParseMinutes(const QString& text);
    static QString InstalledText(const CCwadminDoc& document, OCL::DWORD installed);
    static QString ServiceStateText(int state);
    // The computer name the registry accessors are given for a server.
    static QString RemoteName(const QString& server);
};
