#include "ctl/indexcommand.h"

#include "ctl/ctlsite.h"

#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;

bool CtlRefreshIndex(CSessionIndex& index, const CHistorySource& source, bool progressLine,
                     CSessionIndex::Refreshed* refreshed) {
    QString notice, error;
    if (!index.Open(source.indexFile, &notice, &error)) {
        CtlFail(error, CtlExit::Unreadable);
        return false;
    }
    if (!notice.isEmpty())
        std::fprintf(stderr, "cwctl: %s\n", notice.toLocal8Bit().constData());
    if (source.logData.isEmpty())
        std::fprintf(stderr, "cwctl: the master server's LogData folder cannot be reached\n");
    const bool terminal = progressLine && isatty(fileno(stderr));
    *refreshed = index.Refresh(source.Files(), [terminal](int done, int total) {
        if (terminal)
            std::fprintf(stderr, "\rIndexing day logs: %d of %d", done, total);
        return true;
    });
    if (terminal)
        std::fprintf(stderr, "\n");
    if (!refreshed->error.isEmpty()) {
        CtlFail(refreshed->error, CtlExit::Unreadable);
        return false;
    }
    return true;
}

int RunIndex(const QString& site, const QStringList& args) {
    if (!args.isEmpty())
        return CtlFail(u"index takes no arguments"_s, CtlExit::BadArguments);
    CCtlSite ctl;
    QString error;
    if (!ctl.Open(site, &error))
        return CtlFail(error, CtlExit::Unreadable);
    const CHistorySource source = CHistorySource::Of(ctl.Doc(), ctl.Environment());
    CSessionIndex index;
    CSessionIndex::Refreshed done;
    if (!CtlRefreshIndex(index, source, true, &done))
        return CtlExit::Unreadable;
    std::printf("%d day logs indexed (%lld events), %d unchanged, %d removed, %d unreadable\n"
                "%s: %lld events, %lld bytes\n",
                done.indexed, static_cast<long long>(done.events), done.unchanged, done.removed,
                done.unreadable, index.File().toLocal8Bit().constData(),
                static_cast<long long>(index.Events()), static_cast<long long>(index.FileBytes()));
    return done.unreadable ? CtlExit::Unreadable : CtlExit::Done;
}
