#pragma once
// The demo network of cwsite init: three domains of a small company with their
// controllers, accounts, groups and dial-in servers, the profiles of the
// accounts and ports. Pure data, made the same way for the same seed.

#include "platform/site/sitedirectory.h"
#include "site/gen/profiles.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <random>

struct CDemoServer {
    QString name;
    QString domain;
    bool rras = false;
    int majorVersion = 4;
    int rasType = -1; // the service's "RAS Type": -1 when the value is absent
    bool master = false;
    bool reachable = true;
    int latencyMs = 0;
    int biasOffset = 0; // minutes west of the console's computer
    int idleTimer = 0;  // minutes
    bool staticIp = false;
    double peakRate = 0; // dial-in attempts per hour on a working day's busy hours
    QList<OCL::Site::PortRecord> ports;

    QString RasService() const {
        return rras && majorVersion <= 4 ? QStringLiteral("Router") : QStringLiteral("RemoteAccess");
    }
};

struct CDemoUser {
    QString domain;
    QString name;
    QStringList groups;
    int privilege = 0; // dial-in rights: 8 may dial in, + 1, 2 or 4 call-back
    QString phone;
    bool hasProfile = false;
    CUserProfile profile;
    double weight = 1; // how often the account dials in
    QString computer;  // the caller's computer name

    QString Account() const { return domain + u'\\' + name; }
    bool Dials() const { return (privilege & 8) != 0; }
};

struct CDemoDomain {
    QString name;
    QString controller;
    QStringList computers;
    QStringList groups;
};

struct CDemoModel {
    QString console = QStringLiteral("ADMINPC");
    QString installPath = QStringLiteral("C:\\Program Files\\Callwarden");
    QList<CDemoDomain> domains;
    QList<CDemoServer> servers;
    QList<CDemoUser> users;
    QMap<QString, CPortProfile> portProfiles; // "SERVER\PORT" -> profile, in file order by key
    QStringList portProfileOrder;
    QList<CGroupProfile> groupProfiles;
    CUserProfile defaultProfile;

    const CDemoServer* Master() const;
    QString MasterShare() const;
    CPortProfile PortProfile(const QString& server, const QString& port) const;
    QList<int> UsersOf(const QString& domain) const;
};

CDemoModel BuildDemoModel(std::mt19937& rng);
