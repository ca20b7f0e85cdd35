// The profile steps of the screenshot tour.
#include "core/accounts/userstore.h"
#include "gui/app/screenshots.h"
#include "gui/dialogs/copyprofile.h"
#include "gui/frame/mainframe.h"
#include "gui/pages/groupprofile.h"
#include "gui/pages/systemsettings.h"
#include "gui/pages/userprop.h"
#include "gui/views/nodeview.h"

#include <QApplication>
#include <QTreeWidget>

using namespace Qt::StringLiterals;

namespace {

// The first domain node of the accounts and its first group, if any.
std::pair<QString, QString> FirstDomainGroup(CMainFrame* frame) {
    CNodeView* tree = frame->NodeView();
    QTreeWidgetItem* domain = tree && tree->AccountsRoot() ? tree->AccountsRoot()->child(0) : nullptr;
    if (!domain)
        return {};
    tree->expandItem(domain);
    for (int i = 0; i < domain->childCount(); ++i)
        if (CNodeView::Image(domain->child(i)) == 10)
            return {domain->text(0), domain->child(i)->text(0)};
    return {domain->text(0), {}};
}

// An account with a profile of the first domain, as "DOMAIN\name".
QString SomeAccount(CCwadminDoc& doc, const QString& domain) {
    doc.LoadUsersFromFile(0, 0);
    const auto users = doc.Users();
    for (std::size_t i = 0; i < users->Count(); ++i) {
        const QString name = users->DisplayName(i);
        if (name.startsWith(domain + u'\\', Qt::CaseInsensitive))
            return name;
    }
    return domain + u"\\alice"_s;
}

} // namespace

void CScreenshotTour::AddProfileSteps(CMainFrame* frame) {
    m_steps.push_back({500, [this, frame] {
                           CCwadminDoc& doc = frame->Document();
                           const auto [domain, group] = FirstDomainGroup(frame);
                           const QString account = SomeAccount(doc, domain);
                           auto sheet = CreateUserProfileSheet(doc, account, frame);
                           sheet->show();
                           const QStringList names = {u"41-profile-status"_s, u"42-profile-restrictions"_s,
                                                      u"43-profile-misc"_s, u"44-profile-ras"_s};
                           for (int page = 0; page < sheet->PageCount(); ++page) {
                               sheet->SetActivePage(page);
                               QApplication::processEvents();
                               Save(sheet.get(), names[page]);
                           }
                           sheet->close();

                           const auto settings = CreateSystemSettings(doc, frame);
                           settings->SetActivePage(2);
                           settings->show();
                           QApplication::processEvents();
                           Save(settings.get(), u"45-default-profile"_s);
                           settings->close();

                           if (!group.isEmpty()) {
                               auto groupSheet = CreateGroupProfileSheet(doc, domain, group, false, frame);
                               groupSheet->show();
                               QApplication::processEvents();
                               Save(groupSheet.get(), u"46-group-profile"_s);
                               groupSheet->close();
                           }

                           doc.m_selectedDomain = domain;
                           doc.m_selectedUser = account.section(u'\\', -1);
                           CCopyProfile copy(doc, frame);
                           QTreeWidgetItem* root = copy.Accounts()->topLevelItem(0);
                           for (int i = 0; root && i < root->childCount() && i < 6; i += 2)
                               root->child(i)->setSelected(true);
                           copy.OnAdd();
                           copy.show();
                           QApplication::processEvents();
                           Save(&copy, u"47-copy-profile"_s);
                           copy.close();
                       }});
    m_steps.push_back({200, [this, frame] {
                           CaptureModal(u"48-confirm-overwrite"_s, [frame] {
                               CCwadminDoc& doc = frame->Document();
                               doc.Environment().Prompter().Message(
                                   u"Replace existing profile for CORP\\bob\nwith profile of CORP\\alice ?"_s,
                                   u"Confirm Overwrite"_s, OCL::IPrompter::Icon::Question,
                                   OCL::IPrompter::Buttons::YesAllNoCancel);
                           });
                       }});
}
