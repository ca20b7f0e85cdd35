#include "ctl/userscommand.h"

#include "core/accounts/usersmodel.h"
#include "core/app/ansitext.h"
#include "ctl/ctlsite.h"
#include "ini/inifile.h"

#include <QCommandLineParser>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

// The selection the options stand for, as the node tree would have stored it.
bool SelectionOf(const QCommandLineParser& parser, CUserFilter::Selection* selection, QString* error) {
    const int chosen =
        int(parser.isSet(u"domain"_s)) + int(parser.isSet(u"group"_s)) + int(parser.isSet(u"user"_s));
    if (chosen > 1) {
        *error = u"choose one of --domain, --group and --user"_s;
        return false;
    }
    selection->domain = selection->group = selection->user = u"*"_s;
    selection->allAccounts = chosen == 0;
    if (parser.isSet(u"domain"_s)) {
        selection->domain = parser.value(u"domain"_s);
    } else if (chosen == 1) {
        const bool user = parser.isSet(u"user"_s);
        const QString value = parser.value(user ? u"user"_s : u"group"_s);
        const qsizetype slash = value.indexOf(u'\\');
        if (slash <= 0 || slash + 1 == value.size()) {
            *error = user ? u"--user takes DOMAIN\\user"_s : u"--group takes DOMAIN\\group"_s;
            return false;
        }
        selection->domain = value.left(slash);
        (user ? selection->user : selection->group) = value.mid(slash + 1);
    }
    return true;
}

QByteArray JsonLine(const OCL::Ini::Document& file, std::string_view section) {
    QJsonObject keys;
    for (const std::string_view key : file.KeyNames(section))
        keys.insert(CAnsi::ToQString(key), CAnsi::ToQString(file.Find(section, key).value_or("")));
    const QJsonObject object{{u"section"_s, CAnsi::ToQString(section)}, {u"keys"_s, keys}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace

int RunUsers(const QString& site, const QStringList& args) {
    QCommandLineParser parser;
    for (const char* name : {"domain", "group", "user", "format"})
        parser.addOption(QCommandLineOption(QString::fromLatin1(name), {}, u"value"_s));
    if (!parser.parse(QStringList{u"users"_s} + args))
        return CtlFail(parser.errorText(), CtlExit::BadArguments);
    if (!parser.positionalArguments().isEmpty())
        return CtlFail(u"users takes no arguments besides its options"_s, CtlExit::BadArguments);
    const CtlFormat format = CtlFormatOf(parser);
    if (format == CtlFormat::Bad)
        return CtlExit::BadArguments;
    CUserFilter::Selection selection;
    QString error;
    if (!SelectionOf(parser, &selection, &error))
        return CtlFail(error, CtlExit::BadArguments);

    CCtlSite ctl;
    if (!ctl.Open(site, &error))
        return CtlFail(error, CtlExit::Unreadable);
    CCwadminDoc& doc = ctl.Doc();
    const QString path = doc.Servers().UsersFile();
    OCL::DWORD code = 0;
    const std::filesystem::path local = doc.LocalUsersFile(&code);
    if (code == OCL::Err::Success && ctl.LocalFile(path).isEmpty())
        return CtlFail(u"cannot read the accounts: no file %1"_s.arg(path), CtlExit::Unreadable);
    doc.LoadUsersFromFile(0, 0);
    if (ctl.Prompter().FailureShown())
        return CtlExit::Unreadable;
    const CUserFilter filter =
        CUserFilter::ForSelection(selection, ctl.Environment().Network(), ctl.Prompter());
    if (ctl.Prompter().FailureShown())
        return CtlExit::Unreadable;
    CUsersModel model;
    model.SetFormat(doc.UserCellFormat());
    model.Fill(doc.Users(), filter);

    // The parse the list was read from.
    const auto file = format == CtlFormat::JsonLines ? ctl.Environment().Files().Read(local) : nullptr;
    return CtlPrintList(
        format, [&](QIODevice& out) { return model.WriteCsv(out); }, model.rowCount(),
        [&](qsizetype row) { return JsonLine(*file, model.Store().Name(model.RecordAt(int(row)))); });
}
