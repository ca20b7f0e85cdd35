#include "core/ports/portsviewfile.h"

using namespace Qt::StringLiterals;

namespace {

// Section names compare as the profile functions compare them.
QString SectionKey(const QString& port) {
    return port.trimmed().toUpper();
}

// A value as a profile read returns it.
QString AsRead(const QString& value) {
    qsizetype begin = 0;
    qsizetype end = value.size();
    while (begin < end && (value[begin] == u' ' || value[begin] == u'\t'))
        ++begin;
    while (end > begin && (value[end - 1] == u' ' || value[end - 1] == u'\t'))
        --end;
    if (end - begin >= 2 && value[begin] == u'"' && value[end - 1] == u'"') {
        ++begin;
        --end;
    }
    return value.mid(begin, end - begin);
}

} // namespace

void CPortsViewFile::Clear() {
    std::lock_guard lock(m_mutex);
    m_sections.clear();
}

CPortsViewFile::Section& CPortsViewFile::SectionOf(const QString& port) {
    return m_sections[SectionKey(port)];
}

void CPortsViewFile::WriteUser(const QString& port, const QString& user) {
    std::lock_guard lock(m_mutex);
    Section& section = SectionOf(port);
    section.user = AsRead(user);
    section.hasUser = true;
}

void CPortsViewFile::WriteStart(const QString& port, qint64 start) {
    std::lock_guard lock(m_mutex);
    Section& section = SectionOf(port);
    section.start = QString::number(start);
    section.hasStart = true;
}

void CPortsViewFile::WriteIp(const QString& port, const QString& ip) {
    std::lock_guard lock(m_mutex);
    Section& section = SectionOf(port);
    section.ip = AsRead(ip);
    section.hasIp = true;
}

CPortsViewFile::Entry CPortsViewFile::Read(const QString& port) const {
    std::lock_guard lock(m_mutex);
    Entry entry{u"*"_s, u"*"_s, u" "_s};
    const auto it = m_sections.constFind(SectionKey(port));
    if (it == m_sections.cend())
        return entry;
    if (it->hasUser)
        entry.user = it->user;
    if (it->hasStart)
        entry.start = it->start;
    if (it->hasIp)
        entry.ip = it->ip;
    return entry;
}

int CPortsViewFile::SectionCount() const {
    std::lock_guard lock(m_mutex);
    return int(m_sections.size());
}

bool PortRowDiffers(const QString& userCell, const QString& connectedCell,
                    const CPortsViewFile::Entry& entry) {
    const QString connected = connectedCell.isEmpty() ? u"0"_s : connectedCell;
    return entry.user.compare(userCell, Qt::CaseInsensitive) != 0 ||
           entry.start.compare(connected, Qt::CaseInsensitive) != 0;
}

qint64 ProfileNumber(const QString& text) {
    qsizetype i = 0;
    while (i < text.size() && (text[i] == u' ' || text[i] == u'\t'))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+'))
        negative = text[i++] == u'-';
    qint64 value = 0;
    for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
        value = value * 10 + (text[i].unicode() - u'0');
        if (value > (qint64(1) << 40))
            break;
    }
    return negative ? -value : value;
}
