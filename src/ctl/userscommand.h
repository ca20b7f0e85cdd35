#pragma once
// cwctl users: the account status the users view shows, for all accounts or
// one domain, group or account, as the view's saved file (csv) or one JSON
// object per account with every key of its section (jsonl).

#include "ctl/ctlcommand.h"

int RunUsers(const QString& site, const QStringList& args);

inline constexpr CCtlCommand kUsersCommand{
    "users",
    "users [--domain D | --group DOMAIN\\group | --user DOMAIN\\user] [--format csv|jsonl]\n"
    "      The accounts of the account file, as the users view lists them for that selection.\n"
    "      csv: exactly the users view's \"Save Data As...\"; jsonl: the section name and every\n"
    "      key of each account's section, as text.",
    &RunUsers};
