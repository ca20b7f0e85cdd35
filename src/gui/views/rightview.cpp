#include "gui/views/rightview.h"

CRightView::CRightView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent)
    : QWidget(parent), m_doc(document), m_frame(frame) {
    m_doc.AddView(this);
}

CRightView::~CRightView() {
    m_doc.RemoveView(this);
}

void CRightView::OnUpdate(IView*, int, const CHintObject*) {}
