#pragma once
// The console's icons, drawn rather than loaded so that they share one look at
// every size. Tree images are indexed by node kind, as the tree stores them.

#include <QIcon>

namespace CIcons {

// Node tree images: 0 servers root, 1 and 2 server, 3-5 port (idle and the
// blinking frames of a connected port), 6 and 7 accounts root, 8 and 14 user,
// 9 domain, 10 and 11 group, 12 default profile.
QIcon TreeImage(int kind);
// The four view modes: 0 Status, 1 History, 2 Usage, 3 Statistics.
QIcon ViewMode(int mode);
// Server state images: 1 working, 2 ready, 3 failed.
QIcon ServerState(int image);
// Port row images: 0 idle, 1 and 2 the animation of a connected port.
QIcon PortRow(int image);

enum class Command {
    AddServer,
    Refresh,
    StartRas,
    StopRas,
    StartService,
    StopService,
    RemoveServer,
    Properties,
    Disconnect,
    Copy,
    Delete,
    Back,
    Forward,
    Calendar,
    Simulate
};
QIcon CommandIcon(Command command);

} // namespace CIcons
