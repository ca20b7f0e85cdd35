#include "core/doc/timetext.h"

#include <QList>

using namespace Qt::StringLiterals;

namespace {

enum class Kind { Literal, Hour12, Hour24, Minute, Second, Millis, Marker, Zone };

struct Token {
    Kind kind = Kind::Literal;
    int width = 1;      // letters in the pattern: 2 pads with a zero
    bool upper = false; // a marker written "AP" or "A"
    QString text;       // a literal's text
    bool removed = false;
};

bool IsField(const Token& token) {
    return token.kind != Kind::Literal;
}

// Splits a time pattern in the locale's notation (h, H, m, s, z, AP, ap, t and
// quoted text) into fields and the literal text between them.
QList<Token> Tokenize(const QString& pattern) {
    QList<Token> tokens;
    auto literal = [&tokens](const QString& text) {
        if (tokens.isEmpty() || tokens.last().kind != Kind::Literal)
            tokens.append(Token());
        tokens.last().text += text;
    };
    for (qsizetype i = 0; i < pattern.size();) {
        const QChar c = pattern.at(i);
        if (c == u'\'') {
            const qsizetype close = pattern.indexOf(u'\'', i + 1);
            if (close == i + 1) {
                literal(u"'"_s);
                i += 2;
                continue;
            }
            const qsizetype end = close < 0 ? pattern.size() : close;
            literal(pattern.mid(i + 1, end - i - 1));
            i = end + 1;
            continue;
        }
        if (c == u'a' || c == u'A') {
            const bool pair =
                i + 1 < pattern.size() && (pattern.at(i + 1) == u'p' || pattern.at(i + 1) == u'P');
            Token marker;
            marker.kind = Kind::Marker;
            marker.upper = c == u'A';
            tokens.append(marker);
            i += pair ? 2 : 1;
            continue;
        }
        Kind kind = Kind::Literal;
        switch (c.unicode()) {
        case u'h':
            kind = Kind::Hour12;
            break;
        case u'H':
            kind = Kind::Hour24;
            break;
        case u'm':
            kind = Kind::Minute;
            break;
        case u's':
            kind = Kind::Second;
            break;
        case u'z':
            kind = Kind::Millis;
            break;
        case u't':
            kind = Kind::Zone;
            break;
        default:
            break;
        }
        if (kind == Kind::Literal) {
            literal(QString(c));
            ++i;
            continue;
        }
        qsizetype run = 1;
        while (i + run < pattern.size() && pattern.at(i + run) == c)
            ++run;
        Token field;
        field.kind = kind;
        field.width = int(run);
        tokens.append(field);
        i += run;
    }
    return tokens;
}

qsizetype FirstBlank(const QString& text) {
    for (qsizetype i = 0; i < text.size(); ++i)
        if (text.at(i).isSpace())
            return i;
    return -1;
}

// Takes a field out with what belongs to it of the text around it. Text up to a
// blank belongs to the field before it ("h" of "HH 'h' mm", the suffix of
// "m분 s초"); a separator without blanks (":") belongs to the field after it.
void Remove(QList<Token>& tokens, qsizetype index) {
    tokens[index].removed = true;
    bool fieldBefore = false;
    for (qsizetype i = index - 1; i >= 0 && !fieldBefore; --i)
        fieldBefore = IsField(tokens[i]) && !tokens[i].removed;
    if (index > 0 && tokens[index - 1].kind == Kind::Literal && fieldBefore) {
        QString& text = tokens[index - 1].text;
        const qsizetype blank = FirstBlank(text);
        text.truncate(blank < 0 ? 0 : blank);
    }
    if (index + 1 < tokens.size() && tokens[index + 1].kind == Kind::Literal) {
        QString& text = tokens[index + 1].text;
        const qsizetype blank = FirstBlank(text);
        if (blank >= 0)
            text.remove(0, blank);
        else if (!fieldBefore)
            text.clear();
    }
}

QString Number(const QLocale& locale, int value, int width) {
    QString text = locale.toString(value);
    while (text.size() < width)
        text.prepend(locale.zeroDigit());
    return text;
}

} // namespace

QString CTimeText::TimeOfDay(const QTime& local, const QLocale& locale, int flags) {
    QList<Token> tokens = Tokenize(locale.timeFormat(QLocale::LongFormat));
    bool twelveHour = false;
    for (const Token& token : tokens)
        twelveHour = twelveHour || token.kind == Kind::Marker;
    if (flags & TimeFlags::Force24Hour)
        twelveHour = false;

    for (qsizetype i = 0; i < tokens.size(); ++i) {
        const Kind kind = tokens[i].kind;
        const bool drop =
            kind == Kind::Zone || (kind == Kind::Millis && (flags & TimeFlags::NoSeconds)) ||
            (kind == Kind::Second && (flags & TimeFlags::NoSeconds)) ||
            ((kind == Kind::Minute || kind == Kind::Second || kind == Kind::Millis) &&
             (flags & TimeFlags::NoMinutesOrSeconds)) ||
            (kind == Kind::Marker && (flags & (TimeFlags::NoTimeMarker | TimeFlags::Force24Hour)));
        if (drop)
            Remove(tokens, i);
    }

    QString text;
    for (const Token& token : std::as_const(tokens)) {
        if (token.removed)
            continue;
        switch (token.kind) {
        case Kind::Literal:
            text += token.text;
            break;
        case Kind::Hour12:
        case Kind::Hour24: {
            int hour = local.hour();
            if (token.kind == Kind::Hour12 && twelveHour)
                hour = hour % 12 == 0 ? 12 : hour % 12;
            text += Number(locale, hour, token.width >= 2 ? 2 : 1);
            break;
        }
        case Kind::Minute:
            text += Number(locale, local.minute(), token.width >= 2 ? 2 : 1);
            break;
        case Kind::Second:
            text += Number(locale, local.second(), token.width >= 2 ? 2 : 1);
            break;
        case Kind::Millis:
            text += Number(locale, local.msec(), token.width >= 3 ? 3 : 1);
            break;
        case Kind::Marker: {
            const QString marker = local.hour() < 12 ? locale.amText() : locale.pmText();
            text += token.upper ? marker.toUpper() : marker.toLower();
            break;
        }
        case Kind::Zone:
            break;
        }
    }
    return text.trimmed();
}
