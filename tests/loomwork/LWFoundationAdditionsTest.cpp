#include "foundation/LWArrayAdditions.h"
#include "foundation/LWDateAdditions.h"
#include "foundation/LWDurationInDaysHoursOrMinutesValueTransformer.h"
#include "foundation/LWError.h"
#include "foundation/LWHTMLEntities.h"
#include "foundation/LWMath.h"
#include "foundation/LWObjectAdditions.h"
#include "foundation/LWStringAdditions.h"
#include "foundation/LWURLAdditions.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <cmath>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
// Without byte-order-mark handling, so U+FFFE stays a character.
QString u(const char16_t* text) {
    return QStringView(text).toString();
}

// What a Python program prints as JSON: the independent reference for the
// checks below. Nothing (and the test skips) when there is no python3.
std::optional<QJsonDocument> python(const QString& program, const QStringList& arguments = {}) {
    const QString python3 = QStandardPaths::findExecutable(u"python3"_s);
    if (python3.isEmpty())
        return std::nullopt;
    QProcess process;
    process.start(python3, QStringList{u"-c"_s, program} + arguments);
    EXPECT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    return QJsonDocument::fromJson(process.readAllStandardOutput());
}
} // namespace

// --- HTML entities ---------------------------------------------------------

// Each row against the HTML 4.01 list as Python ships it, plus "&apos;".
TEST(HTMLEntityTable, HoldsTheHTML401EntitiesAndApos) {
    const auto reference = python(
        u"import json,sys,html.entities\njson.dump(html.entities.name2codepoint,sys.stdout)"_s);
    if (!reference)
        GTEST_SKIP() << "python3 is not installed (scripts/install-deps.sh installs it)";
    QJsonObject expected = reference->object();
    ASSERT_EQ(expected.size(), 252);
    expected.insert(u"apos"_s, 39);
    ASSERT_EQ(lw::htmlEntityTable.size(), 253u);
    QSet<QString> names;
    for (const LWHTMLEntity& row : lw::htmlEntityTable) {
        const QString text = QString::fromUtf16(row.text);
        const QString name = text.mid(1).chopped(1);
        names.insert(name);
        EXPECT_EQ(text, u'&' + name + u';');
        EXPECT_EQ(expected.value(name).toInt(), row.codeUnit) << text.toStdString();
        // Every row decodes, inside other text too.
        EXPECT_EQ(lw::stringByUnescapingHTML(u"x"_s + text + u"y"_s),
                  u"x"_s + QChar(row.codeUnit) + u"y"_s);
    }
    EXPECT_EQ(names.size(), 253);
    EXPECT_FALSE(lw::codeUnitForHTMLEntity(u"&EACUTE;"));
}

TEST(StringByUnescapingHTML, DecodesOnlyWellFormedReferences) {
    for (const char16_t* in : {u"&#65;", u"&#x41;", u"&#X41;", u"&#+65;", u"&# 65;", u"&#\n65;",
                               u"&#x0x41;", u"&#x000041;"})
        EXPECT_EQ(lw::stringByUnescapingHTML(u(in)), u"A"_s)
            << QString::fromUtf16(in).toStdString();
    // Out of range, malformed, unknown, too long or without ";": left as it is.
    for (const char16_t* in :
         {u"&#0;", u"&#65535;", u"&#x;", u"&#12a;", u"&#-5;", u"&#65 ;", u"&#128512;", u"&#;",
          u"&#x0000041;", u"&EACUTE;", u"a & b; c", u"&verylongname;", u"&lt", u"&;", u"&"})
        EXPECT_EQ(lw::stringByUnescapingHTML(u(in)), u(in)) << QString::fromUtf16(in).toStdString();
    const struct {
        const char16_t* in;
        const char16_t* out;
    } cases[] = {{u"&#1;", u"\u0001"},
                 {u"&#65534;", u"\uFFFE"},
                 {u"&#xfffe;", u"\uFFFE"},
                 {u"&Eacute;", u"\u00C9"},
                 {u"&apos;", u"'"},
                 {u"&lt;&gt;", u"<>"},
                 {u"&abc&lt;", u"&abc<"},
                 {u"&amp;lt;", u"&lt;"}, // decoded text is not decoded again
                 {u"&amp;amp;", u"&amp;"},
                 {u"&#38;lt;", u"&lt;"},
                 {u"x&&lt;;", u"x&<;"},
                 {u"&l&gt;t;", u"&l>t;"},
                 {u"\U0001F600&amp;\U0001F600", u"\U0001F600&\U0001F600"}};
    for (const auto& c : cases) {
        EXPECT_EQ(lw::stringByUnescapingHTML(u(c.in)), u(c.out))
            << QString::fromUtf16(c.in).toStdString();
    }
    // Text without "&" comes back as it is, not copied.
    const QString plain = QString::fromLatin1("no entities; none");
    EXPECT_TRUE(lw::stringByUnescapingHTML(plain).isSharedWith(plain));
}

// --- URL text --------------------------------------------------------------

TEST(URLText, SplittingKeepsEmptyPiecesAndNeedsExactlyOneSeparator) {
    EXPECT_EQ(lw::splitIntoURLComponents(u"app://handler/rpcGo/x"_s),
              (QStringList{"app", "handler", "rpcGo", "x"}));
    EXPECT_EQ(lw::splitIntoURLComponents(u"app://handler/"_s), (QStringList{"app", "handler", ""}));
    EXPECT_EQ(lw::splitIntoURLComponents(u"app://h//x"_s), (QStringList{"app", "h", "", "x"}));
    EXPECT_EQ(lw::splitIntoURLComponents(u"app://handler"_s), (QStringList{"app", "handler"}));
    EXPECT_TRUE(lw::splitIntoURLComponents(u"app:/handler"_s).isEmpty());
    EXPECT_TRUE(lw::splitIntoURLComponents(u"a://b://c"_s).isEmpty());
    EXPECT_TRUE(lw::splitIntoURLComponents(QString()).isEmpty());
}

// The character classes are covered by the comparison below; these are the
// documented example and the refusals.
TEST(URLText, EncodingWritesUTF8EscapesOrRefusesLoneSurrogates) {
    EXPECT_EQ(lw::stringByEncodingAsUrlParameterValue(u"My Notes.txt"_s), u"My%20Notes.txt"_s);
    EXPECT_EQ(lw::stringByEncodingAsUrlParameterValue(u(u"\u00E9\U0001F600")),
              u"%C3%A9%F0%9F%98%80"_s);
    EXPECT_FALSE(lw::stringByEncodingAsUrlParameterValue(QString(QChar(0xD800))));
    EXPECT_FALSE(lw::stringByEncodingAsUrlParameterValue(u"a"_s + QChar(0xDC00)));
}

// Checks the encoder against an independent one, Python's
// urllib.parse.quote(s, safe='') over UTF-8, on a few thousand random strings
// rich in reserved characters, blanks, control characters and non-ASCII text.
TEST(URLText, EncodingAgreesWithAnIndependentEncoder) {
    const QString reserved = u"/?#%+&=:;@$,!*'()[] \t\u00A0\u3000-._~"_s;
    QRandomGenerator random(20240611);
    auto character = [&]() -> QString {
        switch (random.bounded(6)) {
        case 0:
            return reserved.at(random.bounded(reserved.size()));
        case 1:
            return QChar(char16_t(random.bounded(0x00, 0x20))); // C0 controls, NUL too
        case 2:
            return QChar(char16_t(random.bounded(0x20, 0x100))); // ASCII, DEL, Latin-1
        case 3:
            return QChar(char16_t(random.bounded(0x100, 0xD800))); // the BMP below surrogates
        case 4:
            return QChar(char16_t(random.bounded(0xE000, 0x10000)));
        default: {
            const char32_t astral = char32_t(random.bounded(0x10000, 0x110000));
            return QString::fromUcs4(&astral, 1);
        }
        }
    };
    QJsonArray inputs;
    for (int i = 0; i < 3000; ++i) {
        QString s;
        for (int k = random.bounded(0, 24); k > 0; --k)
            s += character();
        inputs.append(s);
    }
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    QFile file(folder.filePath(u"inputs.json"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QJsonDocument(inputs).toJson(QJsonDocument::Compact));
    file.close();

    const auto reference =
        python(u"import json,sys,urllib.parse\n"
               u"data=json.load(open(sys.argv[1],encoding='utf-8'))\n"
               u"json.dump([urllib.parse.quote(s,safe='',encoding='utf-8') for s in data],"
               u"sys.stdout)"_s,
               {file.fileName()});
    if (!reference)
        GTEST_SKIP() << "python3 is not installed (scripts/install-deps.sh installs it)";
    const QJsonArray expected = reference->array();
    ASSERT_EQ(expected.size(), inputs.size());
    int differences = 0;
    for (qsizetype i = 0; i < inputs.size() && differences < 10; ++i) {
        const QString input = inputs[i].toString();
        const std::optional<QString> encoded = lw::stringByEncodingAsUrlParameterValue(input);
        if (encoded != expected[i].toString()) {
            ++differences;
            ADD_FAILURE() << "input " << input.toStdString() << " gave "
                          << encoded.value_or(u"(nothing)"_s).toStdString()
                          << ", independent encoder " << expected[i].toString().toStdString();
        }
    }
}

TEST(URLText, QueryLookupMatchesWholeKeysAndKeepsEscapes) {
    const QUrl url(u"https://example.org/list?pages=2&page=5&q=a%20b&e=&page=9"_s);
    EXPECT_EQ(lw::valueForQuerParameter(url, u"page"_s), u"5"_s);
    EXPECT_EQ(lw::valueForQuerParameter(url, u"q"_s), u"a%20b"_s);
    EXPECT_EQ(lw::valueForQuerParameter(url, u"e"_s), QString(""));
    EXPECT_FALSE(lw::valueForQuerParameter(url, u"p"_s));
    EXPECT_FALSE(lw::valueForQuerParameter(url, u"Page"_s));
    EXPECT_FALSE(lw::valueForQuerParameter(QUrl(u"https://example.org/"_s), u"a"_s));
}

TEST(StringAdditions, PrefixesAndEnterKeys) {
    auto prefix = [](const char* s, std::optional<QString> other) {
        return lw::uniquePrefixComparedTo(QString::fromUtf8(s), other);
    };
    EXPECT_EQ(prefix("Apple", u"Apron"_s), u"App"_s);
    EXPECT_EQ(prefix("Ab", u"Abc"_s), u"Ab"_s);
    EXPECT_EQ(prefix("Abc", u"Ab"_s), u"Abc"_s);
    EXPECT_EQ(prefix("x", QString()), u"x"_s);
    EXPECT_EQ(prefix("same", u"same"_s), u"same"_s);
    EXPECT_EQ(prefix("Apple", std::nullopt), u"A"_s);
    EXPECT_EQ(prefix("", std::nullopt), QString());

    for (const char* enter : {"\x03", "\n", "\r"})
        EXPECT_TRUE(lw::isAnyEnterCharacter(QString::fromLatin1(enter)));
    for (const char* other : {"\r\n", "\n\n", " ", ""})
        EXPECT_FALSE(lw::isAnyEnterCharacter(QString::fromLatin1(other)));
}

// --- dates -----------------------------------------------------------------

TEST(DateAdditions, DurationWordingAtItsBoundaries) {
    const QDateTime base = QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC);
    const struct {
        qint64 seconds;
        const char* words;
    } cases[] = {{0, "less than 1 minute"}, {59, "less than 1 minute"}, {60, "1 minute"},
                 {119, "1 minute"},         {120, "2 minutes"},         {3599, "59 minutes"},
                 {3600, "1 hour"},          {7199, "1 hour"},           {7200, "2 hours"},
                 {86399, "23 hours"},       {86400, "1 day"},           {172799, "1 day"},
                 {172800, "2 days"},        {200000, "2 days"},         {86400 * 400, "400 days"}};
    for (const auto& c : cases) {
        EXPECT_EQ(lw::durationInDaysHoursOrMinutesSinceDate(base, base.addSecs(c.seconds)),
                  QLatin1String(c.words))
            << c.seconds;
        EXPECT_EQ(lw::durationInDaysHoursOrMinutesSinceDate(base, base.addSecs(-c.seconds)),
                  QLatin1String(c.words))
            << -c.seconds;
    }
    // Sub-second precision counts: 59.999 seconds are still under a minute.
    EXPECT_EQ(lw::durationInDaysHoursOrMinutesSinceDate(base, base.addMSecs(59999)),
              u"less than 1 minute"_s);
    // Days beyond what a 32-bit count holds.
    EXPECT_EQ(lw::durationInDaysHoursOrMinutesSinceDate(base, base.addDays(3000000000)),
              u"3000000000 days"_s);

    LWDurationInDaysHoursOrMinutesValueTransformer transformer;
    EXPECT_EQ(transformer.transformedValue(QDateTime::currentDateTime().addSecs(-7300)).toString(),
              u"2 hours"_s);
    EXPECT_FALSE(transformer.transformedValue(u"yesterday"_s).isValid());
    EXPECT_FALSE(transformer.transformedValue(QVariant()).isValid());
    EXPECT_FALSE(LWDurationInDaysHoursOrMinutesValueTransformer::allowsReverseTransformation());
}

TEST(DateAdditions, ComparisonsAndCalendarArithmetic) {
    const QDateTime a = QDateTime::fromMSecsSinceEpoch(1700000000000);
    EXPECT_TRUE(lw::isMoreRecentThan(a, QDateTime()));
    EXPECT_FALSE(lw::isMoreRecentThan(a, a));
    EXPECT_TRUE(lw::isMoreRecentThan(a.addMSecs(1), a));

    const QDateTime january31(QDate(2023, 1, 31), QTime(10, 0));
    EXPECT_EQ(lw::dateOffsetByMonths(january31, 1, 0).date(), QDate(2023, 2, 28));
    EXPECT_EQ(lw::dateOffsetByMonths(january31, -2, -31).date(), QDate(2022, 10, 30));

    const QDateTime now = QDateTime::currentDateTime();
    EXPECT_TRUE(lw::isToday(now));
    EXPECT_FALSE(lw::isToday(now.addDays(-1)));
    EXPECT_FALSE(lw::isThisYear(now.addYears(-1)));
    const QDateTime morning(QDate(2023, 5, 4), QTime(0, 0, 1));
    EXPECT_TRUE(lw::isOnSameDayAs(morning, QDateTime(QDate(2023, 5, 4), QTime(23, 59, 59))));
    EXPECT_FALSE(lw::isOnSameDayAs(morning, morning.addSecs(-2)));
    EXPECT_FALSE(lw::isOnSameDayAs(morning, QDateTime()));
}

// --- arrays, objects, errors, bundle, arithmetic ---------------------------

TEST(ArrayAdditions, SafeAndRotatingAccessAndMapping) {
    const QStringList list{"a", "b", "c"};
    EXPECT_EQ(lw::boundsSafeObjectAtIndex(list, 2), u"c"_s);
    EXPECT_FALSE(lw::boundsSafeObjectAtIndex(list, 3));
    EXPECT_FALSE(lw::boundsSafeObjectAtIndex(list, -1));

    auto s = [](const char* t) { return std::optional<QString>(QString::fromUtf8(t)); };
    EXPECT_EQ(lw::objectAfter(list, s("a"), false), s("b"));
    EXPECT_EQ(lw::objectAfter(list, s("c"), true), s("a"));
    EXPECT_FALSE(lw::objectAfter(list, s("c"), false));
    EXPECT_EQ(lw::objectBefore(list, s("a"), true), s("c"));
    EXPECT_FALSE(lw::objectBefore(list, s("a"), false));
    EXPECT_FALSE(lw::objectAfter(list, s("z"), true));
    EXPECT_EQ(lw::objectAfter(QStringList{"x"}, s("x"), true), s("x"));
    // The first equal element counts.
    EXPECT_EQ(lw::objectAfter(QStringList{"x", "y", "x", "z"}, s("x"), false), s("y"));

    EXPECT_EQ(lw::arrayByTrimmingStringsAndRemovingEmptyOnes({" a ", "\n", "", "b\t\n", " \u3000"}),
              (QStringList{"a", "b"}));

    const QList<int> mapped = lw::map(list, [](const QString& e) -> std::optional<int> {
        if (e == u"b"_s)
            return std::nullopt;
        return int(e[0].unicode());
    });
    EXPECT_EQ(mapped, (QList<int>{'a', 'c'}));
}

TEST(ObjectAdditionsAndMath, EmptyValuesFallBackAndProportionsHold) {
    const QVariant fallback(u"default"_s);
    EXPECT_EQ(lw::useValueIfNotEmpty(QVariant(), fallback), fallback);
    EXPECT_EQ(lw::useValueIfNotEmpty(u" \n\t "_s, fallback), fallback);
    EXPECT_EQ(lw::useValueIfNotEmpty(u" x "_s, fallback), u" x "_s);
    EXPECT_EQ(lw::useValueIfNotEmpty(QStringList(), fallback), fallback);
    EXPECT_EQ(lw::useValueIfNotEmpty(QStringList{""}, fallback), QStringList{""});
    EXPECT_EQ(lw::useValueIfNotEmpty(0, fallback), 0);
    // x : y = a : b
    EXPECT_EQ(LWMath::XisToY(3, 4, 6), 2.0f);
    EXPECT_TRUE(std::isinf(LWMath::XisToY(1, 1, 0)));
}

TEST(ErrorRecords, BetterErrorsKeepTheOriginalUnderneath) {
    const LWError plain(u"LWFileDomain"_s, 4);
    EXPECT_EQ(plain.localizedDescription(),
              u"The operation couldn\u2019t be completed. (LWFileDomain error 4.)"_s);

    const LWError better = plain.betterErrorWithLocalizedDescription(
        u"The list could not be read."_s, u"Check the file."_s);
    EXPECT_EQ(better.code(), 4);
    EXPECT_EQ(better.localizedRecoverySuggestion(), u"Check the file."_s);
    // No failure reason to pass on: left out, and the original still underneath.
    EXPECT_FALSE(better.userInfo().contains(LWError::LocalizedFailureReasonErrorKey));
    ASSERT_NE(better.underlyingError(), nullptr);

    const LWError reasoned(u"D"_s, -1, {{LWError::LocalizedFailureReasonErrorKey, u"gone"_s}});
    const LWError chained = reasoned.betterErrorWithLocalizedDescription(QString(), QString());
    EXPECT_EQ(chained.localizedFailureReason(), u"gone"_s);
    EXPECT_FALSE(chained.userInfo().contains(LWError::LocalizedDescriptionKey));
    EXPECT_EQ(chained.underlyingError()->localizedFailureReason(), u"gone"_s);
}
