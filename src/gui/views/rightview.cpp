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
