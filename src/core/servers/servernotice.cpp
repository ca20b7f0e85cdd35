#include "core/servers/servernotice.h"

QEvent::Type CServerNotice::EventType() {
    static const auto type = QEvent::Type(QEvent::registerEventType());
    return type;
}
