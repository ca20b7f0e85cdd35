#pragma once
// The two port readers of the ports view's update thread: they ask a server for
// the current state of its ports and write it into the view's ports file. Both
// run on the update thread.

#include <QString>

class CPortsViewFile;
class CRASFunc;
class CRrasLibrary;

namespace OCL {
class IPrompter;
}

// Classic RAS: every port's "U" and "S", and its "I" when the port's detail can
// be read. A server that cannot be read writes nothing. server is the bare name.
void PortsViewCheckPorts(CRASFunc& rasFunc, const QString& server, CPortsViewFile& file);

// Routing and RAS: the same keys from the companion library. When its interface
// cannot be initialised, "Failed to initialize RRAS interface" is shown (stop
// icon) and nothing is written.
void RRAS_PortsViewCheckPorts(CRrasLibrary& rras, OCL::IPrompter& prompter, const QString& server,
                              CPortsViewFile& file);

// The "U" value of a session: "domain\user", empty when both are empty.
QString PortUserText(const QString& domain, const QString& user);
// "%d.%d.%d.%d" of an address packed most significant byte first.
QString DottedAddress(quint32 packed);
