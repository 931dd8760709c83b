// SPDX-License-Identifier: GPL-3.0-or-later
// Property lists: what is written comes back, what is broken is refused.
#include "platform/PropertyList.h"

#include <QDateTime>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>
#include <string>

namespace quorvane {

namespace {

/// A whole document around one value.
QByteArray plist(const QByteArray& value)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + value
        + "</plist>\n";
}

QVariant reread(const QVariant& value)
{
    return readPropertyList(writePropertyList(value)).value_or(QVariant());
}

/// As deep as that, and nothing in the innermost one.
QVariant nestedArrays(int depth)
{
    QVariant value = QVariantList();
    for (int i = 1; i < depth; ++i)
        value = QVariantList { value };
    return value;
}

struct ReadRow {
    const char* name;
    QByteArray xml; ///< One value.
    QVariant value;
};

void PrintTo(const ReadRow& row, std::ostream* out) { *out << row.name; }

class SoundList : public testing::TestWithParam<ReadRow> { };

TEST_P(SoundList, IsReadWithItsType)
{
    const QByteArray xml = plist(GetParam().xml);

    const auto value = readPropertyList(xml);

    ASSERT_TRUE(value) << value.error().message.toStdString();
    EXPECT_EQ(value->typeId(), GetParam().value.typeId());
    EXPECT_EQ(*value, GetParam().value);
}

QVariant utc(int year, int month, int day, int hour, int minute, int second)
{
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second), Qt::UTC);
}

INSTANTIATE_TEST_SUITE_P(PropertyList, SoundList,
    testing::Values(ReadRow { "Text", "<string>a b</string>", QStringLiteral("a b") },
        ReadRow { "EmptyText", "<string/>", QStringLiteral("") },
        ReadRow { "Blanks", "<string>  </string>", QStringLiteral("  ") },
        ReadRow { "CData", "<string>a<![CDATA[<b>]]></string>", QStringLiteral("a<b>") },
        ReadRow { "CommentInText", "<string>a<!-- no -->b</string>", QStringLiteral("ab") },
        ReadRow { "KnownEntities", "<string>&lt;&amp;&#65;</string>", QStringLiteral("<&A") },
        ReadRow { "Whole", "<integer> 42\n</integer>", qlonglong(42) },
        ReadRow { "Negative", "<integer>-9223372036854775808</integer>",
            std::numeric_limits<qlonglong>::min() },
        ReadRow { "BeyondSigned", "<integer>18446744073709551615</integer>",
            std::numeric_limits<qulonglong>::max() },
        ReadRow { "Real", "<real>2.5</real>", 2.5 },
        ReadRow { "RealExponent", "<real>-1e-3</real>", -0.001 },
        ReadRow { "RealWithoutDot", "<real>3</real>", 3.0 },
        ReadRow { "Infinity", "<real>+Infinity</real>", std::numeric_limits<double>::infinity() },
        ReadRow { "ShortInfinity", "<real>-inf</real>", -std::numeric_limits<double>::infinity() },
        ReadRow { "True", "<true/>", true }, ReadRow { "False", "<false></false>", false },
        ReadRow { "Date", "<date>2024-02-29T12:34:56Z</date>", utc(2024, 2, 29, 12, 34, 56) },
        ReadRow { "DateWithOffset", "<date>2024-01-01T01:00:00+02:00</date>",
            utc(2023, 12, 31, 23, 0, 0) },
        ReadRow { "Data", "<data>\n\tAAEC\n\t/w==\n</data>", QByteArray("\0\1\2\xff", 4) },
        ReadRow { "NoData", "<data/>", QByteArray("") },
        ReadRow { "EmptyArray", "<array/>", QVariantList() },
        ReadRow { "EmptyDictionary", "<dict> </dict>", QVariantMap() },
        ReadRow { "Mixed",
            "<dict><key>a</key><array><true/><integer>1</integer></array><!-- x --><?y z?>\n"
            "<key/><string>e</string></dict>",
            QVariantMap { { QStringLiteral("a"), QVariantList { true, qlonglong(1) } },
                { QStringLiteral(""), QStringLiteral("e") } } }),
    [](const auto& row) { return std::string(row.param.name); });

TEST(PropertyList, ReadsAFileWithTheUsualDeclaration)
{
    const QByteArray xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                           "<!DOCTYPE plist PUBLIC \"-//X//DTD PLIST 1.0//EN\" "
                           "\"http://example.invalid/PropertyList-1.0.dtd\">\n"
                           "<plist version=\"1.0\"><string>\xc3\xa4</string></plist>";

    const auto value = readPropertyList(xml);

    ASSERT_TRUE(value) << value.error().message.toStdString();
    EXPECT_EQ(value->toString(), QStringLiteral("\u00e4"));
}

struct BrokenRow {
    const char* name;
    QByteArray xml; ///< A whole document.
    int line;
};

void PrintTo(const BrokenRow& row, std::ostream* out) { *out << row.name; }

class BrokenList : public testing::TestWithParam<BrokenRow> { };

TEST_P(BrokenList, IsDamagedAndSaysWhere)
{
    const QByteArray xml = GetParam().xml;

    const auto value = readPropertyList(xml);

    ASSERT_FALSE(value);
    EXPECT_EQ(value.error().kind, ErrorKind::Damaged);
    const QString line = QStringLiteral("line %1: ").arg(GetParam().line);
    EXPECT_TRUE(value.error().message.startsWith(line)) << value.error().message.toStdString();
    EXPECT_GT(value.error().message.size(), line.size());
}

BrokenRow broken(const char* name, const QByteArray& value) { return { name, plist(value), 2 }; }

INSTANTIATE_TEST_SUITE_P(PropertyList, BrokenList,
    testing::Values(BrokenRow { "Nothing", "", 1 }, BrokenRow { "Blank", " ", 1 },
        BrokenRow { "Garbage", "hello", 1 }, BrokenRow { "Zeros", QByteArray(100, '\0'), 1 },
        BrokenRow { "Json", "{\"a\": 1}", 1 }, BrokenRow { "OtherXml", "<svg/>", 1 },
        BrokenRow { "BareValue", "<dict/>", 1 },
        BrokenRow { "NotUtf8", "<plist><string>\xff\xfe\xfd</string></plist>", 1 },
        BrokenRow { "Behind", plist("<true/>") + "<plist/>", 3 },
        BrokenRow { "TextBehind", plist("<true/>") + "x", 3 },
        BrokenRow { "OwnEntity",
            "<!DOCTYPE plist [<!ENTITY a \"b\">]>\n<plist><string>&a;</string></plist>", 1 },
        BrokenRow { "EntityFromOutside",
            "<!DOCTYPE plist SYSTEM \"x.dtd\">\n<plist>\n<string>&a;</string></plist>", 3 },
        BrokenRow { "EntityBetween",
            "<!DOCTYPE plist SYSTEM \"x.dtd\">\n<plist>\n<array>&a;</array></plist>", 3 },
        BrokenRow { "LaterLine", plist("<dict>\n<key>a</key>\n<bad/></dict>"), 4 },
        broken("NoValue", ""), broken("TwoValues", "<true/><true/>"),
        broken("TextOutside", "<array>x</array>"), broken("TextInPlist", "x<true/>"),
        broken("Unknown", "<set/>"), broken("WrongCase", "<Dict/>"),
        broken("ElementInText", "<string>a<b/></string>"),
        broken("UndeclaredEntity", "<string>&a;</string>"),
        broken("NoKey", "<dict><string>a</string></dict>"),
        broken("KeyOnly", "<dict><key>a</key></dict>"),
        broken("TwoKeys", "<dict><key>a</key><key>b</key></dict>"),
        broken("KeyTwice", "<dict><key>a</key><true/><key>a</key><true/></dict>"),
        broken("KeyInArray", "<array><key>a</key></array>"), broken("NoDigits", "<integer/>"),
        broken("TextForWhole", "<integer>five</integer>"),
        broken("Fraction", "<integer>1.5</integer>"),
        broken("TooLarge", "<integer>18446744073709551616</integer>"),
        broken("TooSmall", "<integer>-9223372036854775809</integer>"),
        broken("NoReal", "<real>x</real>"), broken("RealComma", "<real>2,5</real>"),
        broken("RealOverflow", "<real>1e999</real>"), broken("EmptyReal", "<real/>"),
        broken("TextInTrue", "<true>no</true>"), broken("ChildInFalse", "<false><true/></false>"),
        broken("NoDate", "<date>yesterday</date>"),
        broken("BadDay", "<date>2023-02-29T00:00:00Z</date>"),
        broken("DateWithoutZone", "<date>2023-01-01T00:00:00</date>"),
        broken("BadBase64", "<data>A*==</data>"), broken("OddBase64", "<data>AAAAA</data>")),
    [](const auto& row) { return std::string(row.param.name); });

TEST(PropertyList, SaysTheFirstThingThatIsWrong)
{
    const auto value = readPropertyList("<svg/>");

    ASSERT_FALSE(value);
    EXPECT_TRUE(value.error().message.contains(QStringLiteral("svg")));
}

TEST(PropertyList, RefusesEveryTruncation)
{
    const QByteArray whole = writePropertyList(
        QVariantMap { { QStringLiteral("a"), QVariantList { 1, 2.5, true, QByteArray("xyz") } },
            { QStringLiteral("b"),
                QVariantMap { { QStringLiteral("c"), QStringLiteral("\u00e4&") } } } });
    const qsizetype end = whole.lastIndexOf('>');

    for (qsizetype length = 0; length <= end; ++length) {
        const auto value = readPropertyList(whole.first(length));

        ASSERT_FALSE(value) << length;
        ASSERT_EQ(value.error().kind, ErrorKind::Damaged) << length;
    }
    EXPECT_TRUE(readPropertyList(whole.first(end + 1)));
}

TEST(PropertyList, LeavesTheBinaryFormToOthers)
{
    const auto value = readPropertyList(QByteArray("bplist00\xd0\x08\0\0\0", 13));

    ASSERT_FALSE(value);
    EXPECT_EQ(value.error().kind, ErrorKind::Unsupported);
}

TEST(PropertyList, StopsAtTheDepthLimit)
{
    const auto arrays = [](int depth) {
        return plist(
            QByteArray("<array>").repeated(depth) + QByteArray("</array>").repeated(depth));
    };
    const auto dictionaries = [](int depth) {
        return plist(QByteArray("<dict><key>a</key>").repeated(depth) + "<true/>"
            + QByteArray("</dict>").repeated(depth));
    };

    EXPECT_TRUE(readPropertyList(arrays(kPropertyListMaxDepth)));
    EXPECT_TRUE(readPropertyList(dictionaries(kPropertyListMaxDepth)));
    EXPECT_EQ(readPropertyList(arrays(kPropertyListMaxDepth + 1)).error().kind, ErrorKind::Damaged);
    EXPECT_EQ(
        readPropertyList(dictionaries(kPropertyListMaxDepth + 1)).error().kind, ErrorKind::Damaged);
}

TEST(PropertyList, SurvivesAbsurdDepth)
{
    const int depth = 200'000;
    const QByteArray closed
        = plist(QByteArray("<array>").repeated(depth) + QByteArray("</array>").repeated(depth));
    const QByteArray open = "<plist>" + QByteArray("<array>").repeated(depth);

    EXPECT_EQ(readPropertyList(closed).error().kind, ErrorKind::Damaged);
    EXPECT_EQ(readPropertyList(open).error().kind, ErrorKind::Damaged);
}

TEST(PropertyList, DoesNotUnfoldEntities)
{
    QByteArray xml = "<!DOCTYPE plist [<!ENTITY e0 \"haha\">";
    for (int i = 1; i < 30; ++i) {
        const QByteArray inner = "&e" + QByteArray::number(i - 1) + ';';
        xml += "<!ENTITY e" + QByteArray::number(i) + " \"" + inner + inner + "\">";
    }
    xml += "]><plist><string>&e29;</string></plist>";

    const auto value = readPropertyList(xml);

    ASSERT_FALSE(value);
    EXPECT_EQ(value.error().kind, ErrorKind::Damaged);
}

struct WriteRow {
    const char* name;
    QVariant value;
};

void PrintTo(const WriteRow& row, std::ostream* out) { *out << row.name; }

class WrittenList : public testing::TestWithParam<WriteRow> { };

TEST_P(WrittenList, ComesBackEqualAndOfItsType)
{
    const QVariant value = GetParam().value;

    const QVariant alone = reread(value);
    const QVariant inArray = reread(QVariantList { value });
    const QVariant inDictionary = reread(QVariantMap { { QStringLiteral("k"), value } });

    EXPECT_EQ(alone.typeId(), value.typeId());
    EXPECT_EQ(alone, value);
    EXPECT_EQ(inArray, QVariant(QVariantList { value }));
    EXPECT_EQ(inDictionary, QVariant(QVariantMap { { QStringLiteral("k"), value } }));
}

INSTANTIATE_TEST_SUITE_P(PropertyList, WrittenList,
    testing::Values(WriteRow { "True", true }, WriteRow { "False", false },
        WriteRow { "Zero", qlonglong(0) },
        WriteRow { "Least", std::numeric_limits<qlonglong>::min() },
        WriteRow { "Most", std::numeric_limits<qlonglong>::max() },
        WriteRow { "BeyondSigned", std::numeric_limits<qulonglong>::max() },
        WriteRow { "Third", 1.0 / 3 }, WriteRow { "WholeReal", 3.0 },
        WriteRow { "Tiny", std::numeric_limits<double>::denorm_min() },
        WriteRow { "Huge", std::numeric_limits<double>::max() },
        WriteRow { "Infinity", std::numeric_limits<double>::infinity() },
        WriteRow { "MinusInfinity", -std::numeric_limits<double>::infinity() },
        WriteRow { "Text", QStringLiteral("a <b> & \"c\" 'd' ]]> \u00e4 \U0001f600") },
        WriteRow { "EmptyText", QStringLiteral("") }, WriteRow { "Blanks", QStringLiteral(" \t ") },
        WriteRow { "LineEnds", QStringLiteral("\r\na\rb\nc\r") },
        WriteRow { "Markup", QStringLiteral("<!-- &#13; &x; -->") },
        WriteRow { "Delete", QStringLiteral("\u007f\u0085\u2028") },
        WriteRow { "NoData", QByteArray("") },
        WriteRow { "Data", QByteArray("\0\1\xff<>&\r\n", 8) },
        WriteRow { "Date", QDateTime(QDate(2024, 2, 29), QTime(1, 2, 3), Qt::UTC) },
        WriteRow { "DateWithFraction", QDateTime(QDate(1, 1, 1), QTime(1, 2, 3, 45), Qt::UTC) },
        WriteRow { "LastDate", QDateTime(QDate(9999, 12, 31), QTime(23, 59, 59, 999), Qt::UTC) },
        WriteRow { "EmptyArray", QVariantList() },
        WriteRow { "OneInArray", QVariantList { QStringLiteral("a") } },
        WriteRow { "Arrays", QVariantList { QVariantList(), QVariantList { QVariantList() } } },
        WriteRow { "EmptyDictionary", QVariantMap() },
        WriteRow { "Keys",
            QVariantMap { { QStringLiteral(""), true }, { QStringLiteral(" <&> \r"), false } } }),
    [](const auto& row) { return std::string(row.param.name); });

TEST(PropertyList, KeepsTruthAndNumberApart)
{
    const QVariantList list = reread(QVariantList { true, 1, 1.0, 1U }).toList();

    ASSERT_EQ(list.size(), 4);
    EXPECT_EQ(list[0].typeId(), QMetaType::Bool);
    EXPECT_EQ(list[1].typeId(), QMetaType::LongLong);
    EXPECT_EQ(list[2].typeId(), QMetaType::Double);
    EXPECT_EQ(list[3].typeId(), QMetaType::LongLong);
}

TEST(PropertyList, KeepsNotANumber)
{
    const QVariant nan = reread(std::numeric_limits<double>::quiet_NaN());

    EXPECT_TRUE(std::isnan(nan.toDouble()));
    EXPECT_EQ(nan.typeId(), QMetaType::Double);
}

TEST(PropertyList, WritesTheNearRelativesOfItsTypes)
{
    const QVariantList near { QStringList { QStringLiteral("a") },
        QVariantHash { { QStringLiteral("k"), 1 } }, 0.5F, static_cast<short>(-3),
        QVariant::fromValue(7UL), QString(), QByteArray() };

    const QVariantList list = reread(near).toList();

    ASSERT_EQ(list.size(), 7);
    EXPECT_EQ(list[0], QVariant(QVariantList { QStringLiteral("a") }));
    EXPECT_EQ(list[1], QVariant(QVariantMap { { QStringLiteral("k"), qlonglong(1) } }));
    EXPECT_EQ(list[2], QVariant(0.5));
    EXPECT_EQ(list[3], QVariant(qlonglong(-3)));
    EXPECT_EQ(list[4], QVariant(qlonglong(7)));
    EXPECT_EQ(list[5], QVariant(QStringLiteral("")));
    EXPECT_EQ(list[6], QVariant(QByteArray("")));
}

TEST(PropertyList, WritesDatesInUtc)
{
    const QDateTime local(QDate(2024, 1, 1), QTime(1, 0), QTimeZone(7200));

    const QByteArray text = writePropertyList(local);

    EXPECT_TRUE(text.contains("<date>2023-12-31T23:00:00Z</date>")) << text.toStdString();
}

TEST(PropertyList, LeavesOutWhatXmlCannotCarry)
{
    QString everything;
    for (char16_t c = 0; c < 0x20; ++c)
        everything += QChar(c);
    everything += QString::fromUtf16(u"a\xfffe\xffff\xd800z\xdc00\xd83d\xde00\xd83d");

    const QVariant value = reread(everything);

    EXPECT_EQ(value, QVariant(QStringLiteral("\t\n\raz\U0001f600")));
    EXPECT_EQ(canonicalPropertyList(everything), value);
}

TEST(PropertyList, CarriesEveryOtherCharacter)
{
    QString everything;
    for (char32_t c = 0x20; c < 0xd800; ++c)
        everything += QChar(static_cast<char16_t>(c));
    for (char32_t c = 0xe000; c < 0xfffe; ++c)
        everything += QChar(static_cast<char16_t>(c));
    for (char32_t c = 0x10000; c < 0x110000; c += 0xff)
        everything += QString::fromUcs4(&c, 1);

    EXPECT_EQ(reread(everything), QVariant(everything));
}

TEST(PropertyList, NeverWritesAKeyTwice)
{
    const QVariantMap map { { QStringLiteral("a"), 1 }, { QStringLiteral("\1a"), 2 },
        { QStringLiteral("a\1"), 5 }, { QStringLiteral("\1b"), 3 }, { QStringLiteral("\2b"), 4 } };

    const QVariantMap back = reread(map).toMap();

    EXPECT_EQ(back.keys(), (QStringList { QStringLiteral("a"), QStringLiteral("b") }));
    EXPECT_EQ(back.value(QStringLiteral("a")), QVariant(qlonglong(1)));
}

TEST(PropertyList, WritesNothingThatItCouldNotReadAgain)
{
    EXPECT_TRUE(writePropertyList(QVariant()).isEmpty());
    EXPECT_TRUE(writePropertyList(QVariantList { QVariant() }).isEmpty());
    EXPECT_TRUE(writePropertyList(QVariantMap { { QStringLiteral("a"), QTime(1, 2) } }).isEmpty());
    EXPECT_TRUE(writePropertyList(QDateTime()).isEmpty());
    EXPECT_TRUE(writePropertyList(QDateTime(QDate(10000, 1, 1), QTime(0, 0), Qt::UTC)).isEmpty());
    EXPECT_TRUE(writePropertyList(QDateTime(QDate(-1, 1, 1), QTime(0, 0), Qt::UTC)).isEmpty());
    EXPECT_TRUE(writePropertyList(nestedArrays(kPropertyListMaxDepth + 1)).isEmpty());
    EXPECT_FALSE(canonicalPropertyList(nestedArrays(kPropertyListMaxDepth + 1)));
    EXPECT_EQ(reread(nestedArrays(kPropertyListMaxDepth)), nestedArrays(kPropertyListMaxDepth));
}

} // namespace

} // namespace quorvane
