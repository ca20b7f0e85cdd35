#pragma once
// Copying one account's profile to many accounts of its domain: the target
// list (groups expanded to their members), the overwrite question, the
// profile keys and, unless left out, the account's RAS permission.

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class CCwadminDoc;

class CProfileCopy {
public:
    struct Target {
        QString name;
        bool group = false;
    };
    enum class Outcome { Done, Cancelled, Failed };

    // The keys copied, in the order they are written.
    static const QStringList& Keys();

    CProfileCopy(CCwadminDoc& document, const QString& domain, const QString& sourceAccount);

    // The account names the targets stand for, each once, in list order. A
    // group whose controller cannot be found adds nobody ("Error getting PDC (%d)").
    QStringList Members(const QList<Target>& targets);

    // Shown before each target ("DOMAIN\name") and with the percentage done after it.
    std::function<void(const QString& target)> onTarget;
    std::function<void(int percent)> onProgress;

    // Copies to every member in order; stops at "&Cancel" or at the first
    // target that cannot be written (named in a message), keeping those done.
    Outcome Run(const QStringList& members, bool copyRasPermission);
    QString SourceSection() const;

private:
    bool CopyRasPermission(const QString& target);

    CCwadminDoc& m_doc;
    QString m_domain;
    QString m_source;
    bool m_rasRead = false;
    int m_rasBits = 0;
    QString m_rasNumber;
};
