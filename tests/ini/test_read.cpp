#include "testini.h"

#include <QTest>

using namespace IniTest;
using namespace OCL::Ini;

namespace {

const QByteArray kDefault = "<default>";

QByteArray N(qsizetype i) {
    return QByteArray::number(i);
}
// The names of the big unordered section.
QByteArray M(int i) {
    return "m" + N(i * 7919 % 3000);
}

QByteArray Joined(const std::vector<std::string>& names) {
    QByteArrayList out;
    for (const std::string& name : names)
        out << Q(name);
    return out.join(',');
}

// The bulk read: "[name]" per physical section, "name=value" per key, "name" for a
// key without a value.
QByteArray Flatten(const Document& document) {
    QByteArrayList out;
    for (std::size_t s = 0; s < document.SectionCount(); ++s) {
        out << "[" + Q(document.SectionName(s)) + "]";
        for (std::size_t k = 0; k < document.KeyCount(s); ++k)
            out << Q(document.KeyName(s, k)) +
                       (document.HasValue(s, k) ? "=" + Q(document.Value(s, k)) : QByteArray());
    }
    return out.join(',');
}

// Each lookup, "section|key|value" or "section|key" for the caller's default, through
// the parse and GetString, in the order given; a fourth field is GetInt's answer.
// "section|*|count|first|last" checks the section's key list.
void CheckLookups(Files& files, const std::filesystem::path& path, const QByteArrayList& lookups) {
    auto document = files.Read(path);
    for (const QByteArray& lookup : lookups) {
        const QByteArrayList l = lookup.split('|');
        if (l[1] == "*") {
            const std::vector<std::string> names = files.KeyNames(path, S(l[0]));
            QCOMPARE(N(qsizetype(names.size())) + "|" + Q(names.front()) + "|" + Q(names.back()),
                     l.mid(2).join('|'));
            continue;
        }
        const QByteArray expected = l.size() > 2 ? l[2] : kDefault;
        const QByteArray where = l[0].left(40) + "|" + l[1].left(40);
        QVERIFY2(Q(document->Find(S(l[0]), S(l[1])).value_or("<default>")) == expected, where.constData());
        QVERIFY2(Q(files.GetString(path, S(l[0]), S(l[1]), S(kDefault))) == expected, where.constData());
        if (l.size() != 3)
            QCOMPARE(files.GetInt(path, S(l[0]), S(l[1]), 99), l.size() > 3 ? l[3].toLongLong() : 99);
    }
}

} // namespace

void TestIni::read_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("bulk");
    QTest::addColumn<QByteArray>("sectionNames");
    QTest::addColumn<QByteArray>("keysOf");
    QTest::addColumn<QByteArray>("keyNames");
    QTest::addColumn<QByteArray>("lookups");

    QTest::newRow("empty file") << B("") << B("") << B("") << B("A") << B("") << B("A|k");
    QTest::newRow("numbers")
        << B("[N]\r\na=0012x\r\nb= -3\r\nc=\"\t+7\"\r\nd=1 2\r\ne=x\r\nf=-\r\ng=\r\nh\r\ni=-1062731519\r\n")
        << B("[N],a=0012x,b=-3,c=\t+7,d=1 2,e=x,f=-,g=,h,i=-1062731519") << B("N") << B("N")
        << B("a,b,c,d,e,f,g,i")
        << B("N|a|0012x|12,N|b|-3|-3,N|c|\t+7|7,N|d|1 2|1,N|e|x|0,N|f|-|0,N|g||0,N|h,"
             "N|i|-1062731519|-1062731519,N|j");
    QTest::newRow("CR LF, LF and lone CR end lines")
        << B("[A]\r\nx=1\ny=2\rz=3\r\n[B]\rk=4\n\r[C]\r") << B("[A],x=1,y=2,z=3,[B],k=4,[C]") << B("A,B,C")
        << B("A") << B("x,y,z") << B("A|y|2,A|z|3,B|k|4,C|k");
    QTest::newRow("byte-order mark") << B("\xEF\xBB\xBF[A]\r\nk=1\r\n") << B("[A],k=1") << B("A") << B("A")
                                     << B("k") << B("A|k|1");
    QTest::newRow("blanks and tabs, in the file and the lookup")
        << B("  [ General ]  \r\n \t Idle \t = \t 5 \t \r\n\tmy key=a b\r\n")
        << B("[General],Idle=5,my key=a b") << B("General") << B(" general\t") << B("Idle,my key")
        << B(" General |\tIDLE |5,GENERAL|my key|a b");
    QTest::newRow("quotes") << B("[Q]\r\na=\"x\"\r\nb=\"x\r\nc=\"\r\nd=\"\"\r\ne=\"a\"b\"\r\nf= \" x \" \r\n"
                                 "g=x\"\r\nh='x'\r\ni=\"a\" \"b\"\r\n")
                            << B("[Q],a=x,b=\"x,c=\",d=,e=a\"b,f= x ,g=x\",h='x',i=a\" \"b") << B("Q")
                            << B("Q") << B("a,b,c,d,e,f,g,h,i") << B("Q|a|x,Q|c|\",Q|d|,Q|e|a\"b,Q|f| x ");
    QTest::newRow("duplicates, first wins even without =")
        << B("[A]\r\nk=1\r\nK=2\r\nm=3\r\nflag\r\nflag=4\r\n[B]\r\nk=4\r\n[a]\r\nk=5\r\nn=6\r\n")
        << B("[A],k=1,K=2,m=3,flag,flag=4,[B],k=4,[a],k=5,n=6") << B("A,B") << B("a") << B("k,m")
        << B("a|K|1,A|m|3,A|flag,B|k|4,A|n");
    QTest::newRow("empty values, lines without =")
        << B("[A]\r\nk=\r\nm=   \r\n  spaced out  \r\nq=\"\"\r\n") << B("[A],k=,m=,spaced out,q=") << B("A")
        << B("A") << B("k,m,q") << B("A|k|,A|m|,A|spaced out,A|q|");
    QTest::newRow("before first section, comments")
        << B("k=0\r\n; note\r\n[x]=1\r\n\r\n[A]\r\n;k=1\r\n  ; x=2\r\n#k=3\r\nk=4\r\nv=a ; b\r\n")
        << B("[x],[A],#k=3,k=4,v=a ; b") << B("x,A") << B("A") << B("#k,k,v") << B("A|k|4,A|;k,A|#k|3,|k");
    QTest::newRow("equals in value, odd names")
        << B("[A]\r\nk=a=b\r\n=v\r\n[]\r\n[B] trailing\r\n[Open\r\nx=1\r\n")
        << B("[A],k=a=b,=v,[],[B],[Open],x=1") << B("A,,B,Open") << B("Open") << B("x")
        << B("A|k|a=b,A||v,open|X|1");
    QTest::newRow("unfinished last line") << B("[A]\r\nk=1\r\nlast=end") << B("[A],k=1,last=end") << B("A")
                                          << B("A") << B("k,last") << B("A|last|end");
    QTest::newRow("header at end") << B("[A]\r\nk=1\r\n[B]") << B("[A],k=1,[B]") << B("A,B") << B("B")
                                   << B("") << B("B|k");
    QTest::newRow("NUL bytes")
        << B("[A]\r\nk=ab\0cd\r\nn\0x=1\r\n\0=2\r\n[B\0C]\r\nz=2\0\r\n[D]\r\ny=\"q\0\"\r\n")
        << B("[A],k=ab,n=1,[B],z=2,[D],y=q") << B("A,B,D") << B("A") << B("k,n")
        << B("A|k|ab,A|n|1,b|z|2,B\0C|z,D|y|q");
    QTest::newRow("Windows-1252 case")
        << B("[\xC4rger]\r\nSCHL\xDCSSEL=1\r\n\xC6\xD8\xC5=2\r\n\x8A\x8C\x8E\x9F=3\r\n\xD7=4\r\n\xDF=5\r\n")
        << B("[\xC4rger],SCHL\xDCSSEL=1,\xC6\xD8\xC5=2,\x8A\x8C\x8E\x9F=3,\xD7=4,\xDF=5") << B("\xC4rger")
        << B("\xE4RGER") << B("SCHL\xDCSSEL,\xC6\xD8\xC5,\x8A\x8C\x8E\x9F,\xD7,\xDF")
        << B("\xE4RGER|schl\xFCssel|1,\xC4rger|\xE6\xF8\xE5|2,\xC4rger|\x9A\x9C\x9E\xFF|3,\xC4rger|\xF7,"
             "\xC4rger|\xFF,"
             "\xC4rger|\xDF|5");
}

void TestIni::read() {
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, bulk);
    QFETCH(QByteArray, sectionNames);
    QFETCH(QByteArray, keysOf);
    QFETCH(QByteArray, keyNames);
    QFETCH(QByteArray, lookups);

    const auto path = Path("test.ini");
    WriteFile(path, bytes);
    Files files;
    QCOMPARE(Flatten(*files.Read(path)), bulk);
    QCOMPARE(Joined(files.SectionNames(path)), sectionNames);
    QCOMPARE(Joined(files.KeyNames(path, S(keysOf))), keyNames);
    CheckLookups(files, path, lookups.split(','));
}

void TestIni::readLarge_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("sections");
    QTest::addColumn<int>("keys");
    QTest::addColumn<QByteArrayList>("lookups");

    const QByteArray mega(1 << 20, 'x');
    const QByteArray ten(10 << 20, 'y');
    QTest::newRow("1 MB names, values and lines, zero-filled tail")
        << "[" + mega + "]\r\nk=" + mega + "\r\n[B]\r\nk=2\r\n" + mega + "\r\n" + QByteArray(1 << 20, '\0')
        << 2 << 3 << QByteArrayList{"B|*|1|k|k", mega + "|k|" + mega, "B|k|2", "B|" + mega};
    QTest::newRow("one 10 MB line") << "[A]\r\nk=" + ten << 1 << 1
                                    << QByteArrayList{"A|*|1|k|k", "A|k|" + ten};
    QTest::newRow("a million short lines") << "[A]\r\n" + QByteArray("k\n").repeated(1000000) + "last=1" << 1
                                           << 1000001 << QByteArrayList{"A|*|1|last|last", "A|k", "A|last|1"};

    // Sections big enough to be indexed: names in order, then out of order with
    // duplicates; lookups in file order, backwards and at random.
    QByteArray big = "[Ordered]\r\n";
    QByteArrayList lookups;
    for (int i = 0; i < 5000; ++i)
        big += "k" + N(100000 + i) + "=" + N(i) + "\r\n";
    big += "[Mixed]\r\n";
    for (int i = 0; i < 3000; ++i)
        big += M(i) + (i == 10 ? QByteArray("\r\n") : "=" + N(i) + "\r\n");
    big += "M" + M(20).mid(1) + "=dup\r\n[ordered]\r\nk100000=late\r\n";
    for (int i = 0; i < 5000; i += 499)
        lookups << "Ordered|k" + N(100000 + i) + "|" + N(i);
    for (int i = 4999; i > 0; i -= 1250)
        lookups << "ORDERED|K" + N(100000 + i) + "|" + N(i);
    for (int i = 0; i < 40; ++i)
        lookups << "Mixed|" + M(i) + (i == 10 ? QByteArray() : "|" + N(i));
    // The key after the last one found is a later duplicate: the first still wins.
    lookups << "Mixed|" + M(2999) + "|2999"
            << "Mixed|" + M(20) + "|20"
            << "Mixed|m3000"
            << "Ordered|k99999";
    // Key lists before and after the lookups in their sections.
    const QByteArrayList lists{"Ordered|*|5000|k100000|k104999", "Mixed|*|2999|m0|" + M(2999)};
    QTest::newRow("big sections") << big << 3 << 8002 << lists + lookups + lists;

    QByteArray many;
    for (int i = 0; i < 2000; ++i)
        many += "[S" + N(i) + "]\r\nv=" + N(i) + "\r\n";
    QTest::newRow("many sections") << many + "[s500]\r\nv=late\r\n"
                                   << 2001 << 2001
                                   << QByteArrayList{"S1999|*|1|v|v", "s1999|v|1999", "S500|v|500", "s0|v|0",
                                                     "S2000|v"};
}

void TestIni::readLarge() {
    QFETCH(QByteArray, bytes);
    QFETCH(int, sections);
    QFETCH(int, keys);
    QFETCH(QByteArrayList, lookups);

    const auto path = Path("large.ini");
    WriteFile(path, bytes);
    Files files;
    auto document = files.Read(path);
    QCOMPARE(document->Bytes().size(), std::size_t(bytes.size()));
    QCOMPARE(int(document->SectionCount()), sections);
    int total = 0;
    for (std::size_t s = 0; s < document->SectionCount(); ++s)
        total += int(document->KeyCount(s));
    QCOMPARE(total, keys);
    CheckLookups(files, path, lookups);
}
