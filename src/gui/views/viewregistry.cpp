#include "gui/views/viewregistry.h"

#include "gui/views/logview.h"
#include "gui/views/newport.h"
#include "gui/views/portsview.h"
#include "gui/views/serversview.h"
#include "gui/views/statview.h"
#include "gui/views/usersview.h"
#include "gui/views/useview.h"

#include <map>

namespace {

template <typename View>
ViewFactory Maker() {
    return [](CCwadminDoc& doc, CMainFrame& frame, QWidget* parent) -> CRightView* {
        return new View(doc, frame, parent);
    };
}

const std::map<ViewClass, ViewFactory>& Makers() {
    static const std::map<ViewClass, ViewFactory> makers{
        {ViewClass::Servers, Maker<CServersView>()}, {ViewClass::Ports, Maker<CPortsView>()},
        {ViewClass::PortStatus, Maker<CNewPort>()},  {ViewClass::Users, Maker<CUsersView>()},
        {ViewClass::Log, Maker<CLogView>()},         {ViewClass::Use, Maker<CUseView>()},
        {ViewClass::Stat, Maker<CStatView>()},
    };
    return makers;
}

} // namespace

const ViewFactory* CViewRegistry::Find(ViewClass viewClass) {
    const auto& makers = Makers();
    auto it = makers.find(viewClass);
    return it == makers.end() ? nullptr : &it->second;
}

bool CViewRegistry::Available(ViewClass viewClass) {
    return Find(viewClass) != nullptr;
}
