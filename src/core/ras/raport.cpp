#include "core/ras/raport.h"

#include <cstdlib>

namespace {

long LeadingNumber(const std::string& text, std::size_t at) {
    long value = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
        value = value * 10 + (text[at] - '0');
    return value;
}

} // namespace

bool RAPort::operator<(const RAPort& other) const {
    const std::string& a = m_name;
    const std::string& b = other.m_name;
    if (a.size() == b.size())
        return a.compare(b) < 0;
    const std::size_t shorter = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < shorter; ++i) {
        if (a[i] >= '0' && a[i] <= '9')
            return LeadingNumber(a, i) < LeadingNumber(b, i);
        if (a[i] != b[i])
            return static_cast<signed char>(a[i]) < static_cast<signed char>(b[i]);
    }
    return a.size() < b.size();
}
