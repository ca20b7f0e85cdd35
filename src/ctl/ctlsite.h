#pragma once
// A site opened as the console opens it, without a window: the platform over
// the site folder, the ini engine, the document with the console's settings
// and one fetch of every monitored server, which finds the master server's
// data share and the servers' time zones. Nothing is written.

#include "core/app/environment.h"
#include "core/doc/cwadmindoc.h"
#include "core/ras/rasfunc.h"
#include "ctl/ctlprompter.h"
#include "ini/inifile.h"

#include <QDate>
#include <QString>

#include <memory>

class CCtlSite {
public:
    CCtlSite() = default;
    ~CCtlSite();
    CCtlSite(const CCtlSite&) = delete;
    CCtlSite& operator=(const CCtlSite&) = delete;

    // False with a message naming the site when it cannot be read or its
    // master server cannot be reached.
    bool Open(const QString& root, QString* error);

    CEnvironment& Environment() { return *m_env; }
    CCwadminDoc& Doc() { return *m_doc; }
    CCtlPrompter& Prompter() { return m_prompter; }
    // A console path (\\HOST\SHARE\...) as a file this process can read; empty when none.
    QString LocalFile(const QString& path) const;
    // Shows the day as the console does and loads its log; false with a
    // message when the day has no readable file.
    bool LoadDay(const QDate& day, QString* error);

private:
    std::unique_ptr<OCL::Platform> m_platform;
    OCL::Ini::Files m_files;
    CCtlPrompter m_prompter;
    std::unique_ptr<CEnvironment> m_env;
    CRasBinding m_binding;
    std::unique_ptr<CCwadminDoc> m_doc;
};
