#pragma once
// The document's scratch profile: the limits a new or copied profile is
// written with.

#include <QtGlobal>

struct CTempUser {
    qint32 maxSessionTime = 0;
    qint32 maxTotalTime = 0;
    qint32 periodMax = 0;
    qint32 periodType = 0;
    qint32 staticIP = 0;
    qint32 expiryTime = 0;
    bool noDuplicate = false;
    // Set to 666 by a reset and never written; what it marks is not settled.
    qint32 marker = 0;
};
