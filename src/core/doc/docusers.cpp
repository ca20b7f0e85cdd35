// The document's share of the account file: the account list, profile
// deletion and the scratch profile.
#include "core/doc/cwadmindoc.h"

#include "core/accounts/userfile.h"
#include "core/accounts/usersmodel.h"
#include "core/app/ansitext.h"
#include "ini/inifile.h"

#include <new>

using namespace Qt::StringLiterals;
using OCL::IPrompter;

std::shared_ptr<const CUserStore> CCwadminDoc::EmptyUsers() {
    static const std::shared_ptr<const CUserStore> empty = [] {
        auto store = std::make_shared<CUserStore>();
        store->Finish();
        return store;
    }();
    return empty;
}

CUserCellFormat CCwadminDoc::UserCellFormat() const {
    return {[this](qint64 time) { return TimeToLocalString(time, true, 0); }, m_showSeconds != 0};
}

std::filesystem::path CCwadminDoc::LocalUsersFile(OCL::DWORD* error) const {
    const QString file = m_servers->UsersFile();
    if (file.isEmpty()) {
        *error = OCL::Err::FileNotFound;
        return {};
    }
    std::filesystem::path local;
    *error = m_env.Shares().Resolve(CAnsi::FromQString(file), &local);
    return *error == OCL::Err::Success ? local : std::filesystem::path();
}

quint32 CCwadminDoc::LoadUsersFromFile(int flag1, int flag2) {
    m_usersLoadFlags[0] = flag1;
    m_usersLoadFlags[1] = flag2;
    if (!m_usersReloadPending)
        return quint32(m_users->Count());
    if (m_users->Count() != 0) {
        Trace(u"LoadUsersFromFile"_s, u"Free Buffer"_s, int(m_users->Count()));
        m_users = EmptyUsers();
        Trace(u"LoadUsersFromFile"_s, u"Free Buffer *"_s, 0);
    }
    m_usersLoadError = 0;
    // Without a master server there is no file to read.
    if (m_servers->UsersFile().isEmpty())
        return 0;

    CWaitCursor wait(m_frame);
    SetStatus(u"Loading User Data..."_s);
    OCL::DWORD error = 0;
    const std::filesystem::path local = LocalUsersFile(&error);
    if (error != OCL::Err::Success) {
        m_usersLoadError = error;
        SetStatus(u"Ready"_s);
        m_env.Prompter().Message(
            u"The user data cannot be read: %1 cannot be reached (error %2)."_s.arg(m_servers->UsersFile())
                .arg(error),
            {}, IPrompter::Icon::Error, IPrompter::Buttons::Ok);
        return 0;
    }
    bool found = false;
    try {
        // One parse of the whole file serves every value.
        CUserFile::Loaded loaded = CUserFile::Read(*m_env.Files().Read(local));
        m_users = std::move(loaded.store);
        found = loaded.sectionsFound;
    } catch (const std::bad_alloc&) {
        m_users = EmptyUsers();
        m_env.Prompter().Message(u"Not enough memory to load the user data %1."_s.arg(m_servers->UsersFile()),
                                 {}, IPrompter::Icon::Error, IPrompter::Buttons::Ok);
    }
    SetStatus(u"Ready"_s);
    // A file without sections is tried again next time.
    if (found)
        m_usersReloadPending = 0;
    return quint32(m_users->Count());
}

bool CCwadminDoc::RemoveUserSections(const QStringList& sections, QString* error) {
    OCL::DWORD code = 0;
    const std::filesystem::path local = LocalUsersFile(&code);
    if (code != OCL::Err::Success) {
        if (error)
            *error = u"%1 cannot be reached (error %2)."_s.arg(m_servers->UsersFile()).arg(code);
        return false;
    }
    OCL::Ini::Edit edit;
    for (const QString& section : sections)
        edit.DeleteSection(CAnsi::FromQString(section));
    std::string reason;
    if (m_env.Files().Apply(local, edit, &reason))
        return true;
    if (error)
        *error = QString::fromStdString(reason);
    return false;
}

int CCwadminDoc::DeleteUser(const QString& section) {
    const IPrompter::Answer answer =
        m_env.Prompter().Ask(u"Permanently delete the profile for %1?"_s.arg(section));
    if (answer != IPrompter::Yes)
        return answer;
    return RemoveUserSections({section}) ? 1 : 0;
}

bool CCwadminDoc::UserProfileExists(const QString& section) {
    OCL::DWORD error = 0;
    const std::filesystem::path local = LocalUsersFile(&error);
    if (error != OCL::Err::Success)
        return false;
    return m_env.Files().GetString(local, CAnsi::FromQString(section), CUserFile::kMaxTotalTime, "*") != "*";
}

bool CCwadminDoc::TempUserSave(const QString& section) {
    OCL::DWORD error = 0;
    const std::filesystem::path local = LocalUsersFile(&error);
    if (error != OCL::Err::Success)
        return false;
    OCL::Ini::Edit edit;
    CUserFile::AddProfile(edit, CAnsi::FromQString(section), m_tempUser);
    return m_env.Files().Apply(local, edit);
}

void CCwadminDoc::TempUserReset() {
    m_tempUser = CTempUser{};
    m_tempUser.noDuplicate = true;
    m_tempUser.marker = 666;
}
