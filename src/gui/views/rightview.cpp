#include "gui/views/rightview.h"

CRightView::CRightView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent)
    : QWidget(parent), m_doc(document), m_frame(frame) {
    m_doc.AddView(this);
}

CRightView::~CRightView() {
    Detach();
}

void CRightView::Detach() {
    if (m_attached)
        m_doc.RemoveView(this);
    m_attached = false;
}

void CRightView::OnUpdate(IView*, int, const CHintObject*) {}

bool CRightView::ChangesShownDay(int hint) {
    switch (hint) {
    case Hint::ServerListChanged:
    case Hint::UPDATE_NEW_PORTS:
    case Hint::UPDATE_NEW_USERS:
    case Hint::SelectNode:
    case Hint::DayChanged:
        return true;
    default:
        return false;
    }
}
