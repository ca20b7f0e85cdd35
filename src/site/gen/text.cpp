#include "site/gen/text.h"

qint64 CwText::ToNumber(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t'))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+'))
        negative = text[i++] == '-';
    qint64 value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9' && value < (qint64(1) << 58); ++i)
        value = value * 10 + (text[i] - '0');
    return negative ? -value : value;
}
