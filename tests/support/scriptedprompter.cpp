#include "support/scriptedprompter.h"

void CScriptedPrompter::Script(std::initializer_list<Answer> answers) {
    QMutexLocker lock(&m_mutex);
    for (Answer answer : answers)
        m_answers.append(answer);
}

CScriptedPrompter::Answer CScriptedPrompter::Message(const QString& text, const QString& caption, Icon icon,
                                                     Buttons buttons) {
    if (onMessage)
        onMessage({text, caption, icon, buttons});
    QMutexLocker lock(&m_mutex);
    m_shown.append({text, caption, icon, buttons});
    if (!m_answers.isEmpty())
        return m_answers.takeFirst();
    return buttons == Buttons::Ok || buttons == Buttons::OkCancel ? Ok : Yes;
}

QString CScriptedPrompter::SaveFileName(const QString& caption, const QString&, const QString&,
                                        const QString&) {
    QMutexLocker lock(&m_mutex);
    saveCaptions.append(caption);
    return saveFileNames.isEmpty() ? QString() : saveFileNames.takeFirst();
}

QString CScriptedPrompter::OpenFileName(const QString&, const QString&, const QString&) {
    return {};
}

QList<CScriptedPrompter::Shown> CScriptedPrompter::Boxes() const {
    QMutexLocker lock(&m_mutex);
    return m_shown;
}

QStringList CScriptedPrompter::Texts() const {
    QMutexLocker lock(&m_mutex);
    QStringList texts;
    for (const Shown& shown : m_shown)
        texts.append(shown.text);
    return texts;
}

void CScriptedPrompter::Clear() {
    QMutexLocker lock(&m_mutex);
    m_shown.clear();
    m_answers.clear();
}
