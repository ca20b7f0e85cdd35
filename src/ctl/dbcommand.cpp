#include "ctl/dbcommand.h"

#include "core/pages/database.h"
#include "core/pages/systemmessages.h"
#include "ctl/ctlsite.h"

#include <QDate>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

void Print(const CDatabaseItem& item, const QString& shownRoot, int depth) {
    const QString line = QString(depth * 2, u' ') +
                         (item.kind == DatabaseKind::Root ? QString() : item.title + u": "_s) +
                         item.InfoText(shownRoot);
    std::printf("%s\n", line.toLocal8Bit().constData());
    for (const CDatabaseItem& child : item.children)
        Print(child, shownRoot, depth + 1);
}

// The site opened and its data share reached; the exit code otherwise.
int OpenShare(const QString& site, CCtlSite* opened, std::filesystem::path* share) {
    QString error;
    if (!opened->Open(site, &error))
        return CtlFail(error, CtlExit::Unreadable);
    *share = LocalDataShare(opened->Doc(), &error);
    return share->empty() ? CtlFail(error, CtlExit::Unreadable) : CtlExit::Done;
}

// The folder holding the day's log: the current one first.
int FolderOf(const CDatabase& database, const QString& day) {
    for (int kind : {DatabaseKind::Current, DatabaseKind::Migrated})
        if (std::filesystem::exists(database.Folder(kind) / (day.toStdString() + ".log")))
            return kind;
    return -1;
}

int Finish(const CDatabaseResult& result, const char* verb) {
    std::printf("%d files %s\n", result.done, verb);
    return result.Ok() ? CtlExit::Done : CtlFail(result.Text(), CtlExit::Unreadable);
}

// The arguments without "--yes"; false when it was not given.
bool TakeYes(QStringList* args) {
    return args->removeAll(u"--yes"_s) > 0;
}

} // namespace

int RunDb(const QString& site, const QStringList& args) {
    if (!args.isEmpty())
        return CtlFail(u"db takes no arguments"_s, CtlExit::BadArguments);
    CCtlSite opened;
    std::filesystem::path share;
    if (const int code = OpenShare(site, &opened, &share))
        return code;
    Print(CDatabase(share).Tree(), opened.Doc().Servers().MasterShare(), 0);
    return CtlExit::Done;
}

int RunMigrate(const QString& site, const QStringList& arguments) {
    QStringList args = arguments;
    if (!TakeYes(&args))
        return CtlFail(u"migrate changes the database and runs only with --yes"_s, CtlExit::BadArguments);
    int olderThan = -1;
    if (args.size() == 2 && args[0] == u"--older-than"_s) {
        bool ok = false;
        olderThan = args[1].toInt(&ok);
        if (!ok || olderThan < 0)
            return CtlFail(u"--older-than takes a number of days"_s, CtlExit::BadArguments);
    } else if (args.size() != 1 || args[0].startsWith(u'-')) {
        return CtlFail(u"migrate takes one day or --older-than N"_s, CtlExit::BadArguments);
    }
    CCtlSite opened;
    std::filesystem::path share;
    if (const int code = OpenShare(site, &opened, &share))
        return code;
    const CDatabase database(share);
    if (olderThan >= 0) {
        const QDate today = QDate::currentDate();
        return Finish(database.MigrateOlderThan(olderThan, today.year(), today.month(), today.day()),
                      "migrated");
    }
    const int kind = FolderOf(database, args[0]);
    if (kind < 0)
        return CtlFail(u"there is no log of %1"_s.arg(args[0]), CtlExit::Unreadable);
    return Finish(database.Migrate(kind, args[0]), "migrated");
}

int RunDelete(const QString& site, const QStringList& arguments) {
    QStringList args = arguments;
    if (!TakeYes(&args))
        return CtlFail(u"delete changes the database and runs only with --yes"_s, CtlExit::BadArguments);
    if (args.size() != 1 || args[0].startsWith(u'-'))
        return CtlFail(u"delete takes one day"_s, CtlExit::BadArguments);
    CCtlSite opened;
    std::filesystem::path share;
    if (const int code = OpenShare(site, &opened, &share))
        return code;
    const CDatabase database(share);
    const int kind = FolderOf(database, args[0]);
    if (kind < 0)
        return CtlFail(u"there is no log of %1"_s.arg(args[0]), CtlExit::Unreadable);
    return Finish(database.Delete(kind, args[0]), "deleted");
}
