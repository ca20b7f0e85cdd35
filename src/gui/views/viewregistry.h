#pragma once
// The right-hand view classes the main frame can arrange, and how each is made.
// A class with no maker is not offered yet: its navigation item and menu
// command are left out and the right pane stays as it is.

#include <QString>

#include <functional>

class CCwadminDoc;
class CMainFrame;
class CRightView;
class QWidget;

enum class ViewClass { Servers, Ports, PortStatus, Users, Log, Use, Stat };

using ViewFactory = std::function<CRightView*(CCwadminDoc&, CMainFrame&, QWidget* parent)>;

namespace CViewRegistry {
const ViewFactory* Find(ViewClass viewClass);
bool Available(ViewClass viewClass);
} // namespace CViewRegistry
