#pragma once
// A day of a load-test server for trying the console at scale: events on every
// port from midnight to midnight, of callers of a domain of their own, in the
// usual mix (connects with and without greeting, every denial and every forced
// disconnect, hang-ups long and short). Generated text, written straight out.

#include <QDate>
#include <QString>
#include <QStringList>

#include <random>
#include <string>

namespace CwBigDay {

inline constexpr int kEvents = 1000000;
inline constexpr int kPorts = 250;
inline constexpr int kAccounts = 10000;
inline const QString kServer = QStringLiteral("LOADRAS");
inline const QString kDomain = QStringLiteral("LOADTEST");

// "VPN1-0" to "VPN1-249".
QStringList PortNames();

// The sections of the day's log file (Windows-1252, CRLF), events spread evenly
// over the ports. Every port's keys rise, so none is shared.
std::string DayText(const QString& server, const QStringList& ports, const QDate& day, int events,
                    std::mt19937& rng);

} // namespace CwBigDay
