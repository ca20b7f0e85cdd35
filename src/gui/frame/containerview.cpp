#include "gui/frame/containerview.h"

#include "gui/app/icons.h"
#include "gui/toolkit/captionbar.h"
#include "gui/toolkit/flatsplitter.h"
#include "gui/views/nodeview.h"
#include "gui/views/rightview.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

CCwadminView::CCwadminView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent)
    : QWidget(parent), m_doc(document), m_frame(frame) {
    setObjectName(u"containerView"_s);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_caption = new CCaptionBar(this);
    layout->addWidget(m_caption);
    m_splitter = new CFlatSplitter(Qt::Horizontal, this);
    m_splitter->setObjectName(u"containerSplitter"_s);
    layout->addWidget(m_splitter, 1);
    m_tree = new CNodeView(m_doc, m_frame, m_splitter);
    auto* empty = new QWidget(m_splitter);
    empty->setObjectName(u"emptyPane"_s);
    m_splitter->setStretchFactor(0, 0);
    m_splitter->setStretchFactor(1, 1);
}

void CCwadminView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    // The tree starts 200 pixels wide; sizes only mean something once laid out.
    if (!m_sized) {
        m_sized = true;
        m_splitter->setSizes({200, qMax(200, m_splitter->width() - 200 - m_splitter->handleWidth())});
    }
}

bool CCwadminView::ReplaceView(const ViewFactory& factory, const QString& caption, int iconId) {
    CRightView* view = factory ? factory(m_doc, m_frame, nullptr) : nullptr;
    if (!view)
        return false;
    const QList<int> sizes = m_splitter->sizes();
    QWidget* old = m_splitter->widget(1);
    m_splitter->replaceWidget(1, view);
    if (auto* oldView = qobject_cast<CRightView*>(old))
        oldView->Detach();
    if (old)
        old->deleteLater();
    if (sizes.size() == 2)
        m_splitter->setSizes(sizes);
    m_right = view;
    view->show();
    view->OnInitialUpdate();
    m_caption->SetIcon(CIcons::ViewMode(iconId - 932));
    m_caption->SetCaption(caption);
    return true;
}
