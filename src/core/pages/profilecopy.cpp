#include "core/pages/profilecopy.h"

#include "core/accounts/userfile.h"
#include "core/app/ansitext.h"
#include "core/doc/cwadmindoc.h"
#include "core/pages/userprofile.h"
#include "ini/inifile.h"

using namespace Qt::StringLiterals;
using OCL::IPrompter;

namespace {
constexpr OCL::DWORD kGroupPage = 10000;
}

const QStringList& CProfileCopy::Keys() {
    static const QStringList keys = {u"MaxSessionTime"_s, u"MaxTotalTime"_s, u"ExpiryTime"_s, u"PeriodType"_s,
                                     u"PeriodMax"_s,      u"NoDuplicate"_s,  u"StaticIP"_s};
    return keys;
}

CProfileCopy::CProfileCopy(CCwadminDoc& document, const QString& domain, const QString& sourceAccount)
    : m_doc(document), m_domain(domain), m_source(sourceAccount) {}

QString CProfileCopy::SourceSection() const {
    return CUserFile::AccountSection(m_domain, m_source);
}

QStringList CProfileCopy::Members(const QList<Target>& targets) {
    QStringList members;
    const auto add = [&](const QString& name) {
        if (!members.contains(name, Qt::CaseInsensitive))
            members.append(name);
    };
    for (const Target& target : targets) {
        if (!target.group) {
            add(target.name);
            continue;
        }
        OCL::INetwork& network = m_doc.Environment().Network();
        std::u16string controller;
        if (const OCL::DWORD rc = network.GetDCName(u"", CRASFunc::Wide(m_domain, 35), &controller);
            rc != OCL::Err::Success) {
            m_doc.Environment().Prompter().Message(u"Error getting PDC (%1)"_s.arg(rc), {},
                                                   IPrompter::Icon::Error, IPrompter::Buttons::Ok);
            continue;
        }
        OCL::DWORD_PTR resume = 0;
        OCL::DWORD rc = 0;
        do {
            std::vector<std::u16string> names;
            OCL::DWORD total = 0;
            rc = network.GroupGetUsers(controller, target.name.toStdU16String(), kGroupPage, &names, &total,
                                       &resume);
            for (const std::u16string& name : names)
                add(QString::fromStdU16String(name));
        } while (rc == OCL::Err::MoreData);
    }
    return members;
}

bool CProfileCopy::CopyRasPermission(const QString& target) {
    OCL::INetwork& network = m_doc.Environment().Network();
    std::u16string controller;
    if (network.GetDCName(u"", CRASFunc::Wide(m_domain, 35), &controller) != OCL::Err::Success) {
        m_doc.Environment().Prompter().Message(u"Failed to Get PDC for %1 %2"_s.arg(m_domain, target), {},
                                               IPrompter::Icon::Error, IPrompter::Buttons::Ok);
        return false;
    }
    const QString server = QString::fromStdU16String(controller);
    if (!m_rasRead) {
        // The source's permission is read once, with the first target.
        m_rasBits = m_doc.GetUserRASPrivs(server, m_source);
        m_rasNumber = m_doc.m_callbackNumber;
        m_rasRead = true;
    }
    m_doc.m_callbackNumber = m_rasNumber;
    return m_doc.SetUserRASPrivs(server, target, OCL::BYTE(m_rasBits));
}

CProfileCopy::Outcome CProfileCopy::Run(const QStringList& members, bool copyRasPermission) {
    if (members.isEmpty() || members.first().startsWith(u'*'))
        return Outcome::Done;
    OCL::DWORD error = 0;
    const std::filesystem::path file = m_doc.LocalUsersFile(&error);
    IPrompter& prompter = m_doc.Environment().Prompter();
    if (error != OCL::Err::Success) {
        prompter.Message(u"The profile of %1 cannot be copied: %2 cannot be reached (error %3)."_s
                             .arg(SourceSection(), m_doc.Servers().UsersFile())
                             .arg(error),
                         {}, IPrompter::Icon::Error, IPrompter::Buttons::Ok);
        return Outcome::Failed;
    }
    OCL::Ini::Files& files = m_doc.Environment().Files();
    const std::string source = CAnsi::FromQString(SourceSection());
    std::vector<std::string> values;
    for (const QString& key : Keys())
        values.push_back(files.GetString(file, source, CAnsi::FromQString(key), "0").substr(0, 149));

    bool yesToAll = false;
    for (qsizetype count = 0; count < members.size(); ++count) {
        const QString target = CUserFile::AccountSection(m_domain, members[count]);
        if (onTarget)
            onTarget(target);
        const std::string section = CAnsi::FromQString(target);
        bool copy = true;
        if (!yesToAll && files.GetString(file, section, CUserFile::kMaxSessionTime, "*") != "*") {
            if (target.compare(SourceSection(), Qt::CaseInsensitive) == 0) {
                copy = false;
            } else {
                switch (int(prompter.Message(
                    u"Replace existing profile for %1\nwith profile of %2 ?"_s.arg(target, SourceSection()),
                    u"Confirm Overwrite"_s, IPrompter::Icon::Question, IPrompter::Buttons::YesAllNoCancel))) {
                case IPrompter::YesToAll:
                    yesToAll = true;
                    break;
                case IPrompter::No:
                    copy = false;
                    break;
                case IPrompter::Cancel:
                    return Outcome::Cancelled;
                default:
                    break;
                }
            }
        }
        if (copy) {
            OCL::Ini::Edit edit;
            for (qsizetype k = 0; k < Keys().size(); ++k)
                edit.Set(section, CAnsi::FromQString(Keys()[k]), values[std::size_t(k)]);
            std::string reason;
            if (!files.Apply(file, edit, &reason)) {
                prompter.Message(
                    u"The profile could not be copied to %1; the accounts before it have their "
                    u"copies, the rest are untouched.\n%2"_s.arg(target, QString::fromStdString(reason)),
                    {}, IPrompter::Icon::Error, IPrompter::Buttons::Ok);
                return Outcome::Failed;
            }
            if (copyRasPermission)
                CopyRasPermission(members[count]);
        }
        if (onProgress)
            onProgress(int((count + 1) * 10000 / (members.size() * 100)));
    }
    return Outcome::Done;
}
