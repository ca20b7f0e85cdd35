#include "core/search/historysource.h"

#include "core/app/ansitext.h"
#include "core/app/environment.h"
#include "core/doc/cwadmindoc.h"
#include "core/log/logtexts.h"

#include <filesystem>

using namespace Qt::StringLiterals;

CHistorySource CHistorySource::Of(CCwadminDoc& doc, const CEnvironment& env) {
    CHistorySource source;
    const auto local = [&](const QString& folder) {
        std::filesystem::path path;
        return env.Shares().Resolve(CAnsi::FromQString(folder), &path) == OCL::Err::Success
                   ? QString::fromStdString(path.string())
                   : QString();
    };
    const QString share = doc.Servers().MasterShare();
    if (!share.isEmpty()) {
        source.logData = local(share + u"\\LogData"_s);
        source.oldData = local(share + u"\\OldData"_s);
    }
    // The same sign and servers as the day loader.
    for (std::size_t i = 0; i < doc.Servers().GetCount(); ++i) {
        const CServer& server = doc.Servers()[i];
        long bias;
        {
            auto lock = server.Lock();
            bias = server.m_timeBias;
        }
        if (bias != doc.m_consoleTimeBias)
            source.shifts.emplace_back(server.Name(), std::int64_t(doc.m_consoleTimeBias - bias) * 60);
    }
    source.indexFile = CSessionIndex::DefaultFile(QString::fromStdString(env.System().TempPath()));
    return source;
}

QString DescribeQuery(const CSessionQuery& query) {
    QStringList parts{query.filter.Caption()};
    if (query.from.isValid() || query.to.isValid())
        parts << u"%1 to %2"_s.arg(query.from.isValid() ? query.from.toString(Qt::ISODate) : u"first day"_s,
                                   query.to.isValid() ? query.to.toString(Qt::ISODate) : u"last day"_s);
    if (query.action >= 0)
        parts << LogText::ActionText(query.action);
    if (query.reason >= 0)
        parts << u"reason %1"_s.arg(query.reason);
    return parts.join(u", "_s);
}

CLogCellFormat SearchCellFormat(const CCwadminDoc& doc) {
    CLogCellFormat format = doc.LogCellFormat();
    format.timeOfDay = [&doc](qint64 time) {
        return doc.TimeToLocalString(time, true, 0);
    };
    return format;
}
