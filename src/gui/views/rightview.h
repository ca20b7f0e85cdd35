#pragma once
// Base of every right-hand view: registered with the document for its updates,
// told once when first shown, and offered the Edit and print commands when it
// is the view shown.

#include "core/doc/cwadmindoc.h"
#include "core/doc/view.h"

#include <QWidget>

class CMainFrame;
class QPrinter;

class CRightView : public QWidget, public IView {
    Q_OBJECT
public:
    CRightView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent = nullptr);
    ~CRightView() override;

    CCwadminDoc& Doc() const { return m_doc; }
    CMainFrame& Frame() const { return m_frame; }
    // Stops the document's notices at once: a replaced view lives on until
    // its deferred deletion, which may come after the document is gone.
    void Detach();

    // The first-show notice the container sends after putting the view in place.
    virtual void OnInitialUpdate() {}
    void OnUpdate(IView* sender, int hint, const CHintObject* hintObject) override;
    // Whether a notice changes which day or which part of the network the
    // history views show, so that they load again.
    static bool ChangesShownDay(int hint);

    // Commands routed from the main frame while this view is shown.
    virtual bool CanEditCopy() const { return false; }
    virtual void OnEditCopy() {}
    virtual bool CanEditDelete() const { return false; }
    virtual void OnEditDelete() {}
    virtual bool CanEditProperties() const { return false; }
    virtual void OnEditProperties() {}
    virtual bool CanPrint() const { return false; }
    virtual void Print(QPrinter* printer) { Q_UNUSED(printer); }

private:
    CCwadminDoc& m_doc;
    CMainFrame& m_frame;
    bool m_attached = true;
};
