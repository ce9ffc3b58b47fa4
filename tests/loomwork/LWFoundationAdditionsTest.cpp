#include "foundation/LWArrayAdditions.h"
#include "foundation/LWBundle.h"
#include "foundation/LWDateAdditions.h"
#include "foundation/LWDurationInDaysHoursOrMinutesValueTransformer.h"
#include "foundation/LWError.h"
#include "foundation/LWObjectAdditions.h"
#include "foundation/LWPreferences.h"
#include "foundation/LWStringAdditions.h"
#include "foundation/LWURLAdditions.h"
#include "support/TestEnvironment.h"

#include <QTimeZone>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
// Without byte-order-mark handling, so U+FFFE stays a character.
QString u(const char16_t* text) {
    return QStringView(text).toString();
}
} // namespace

TEST(StringByUnescapingHTML, DecodesOnlyWellFormedReferences) {
    for (const char16_t* in : {u"&#65;", u"&#x41;", u"&#X41;", u"&#+65;", u"&# 65;", u"&#x000041;"})
        EXPECT_EQ(lw::stringByUnescapingHTML(u(in)), u"A"_s)
            << QString::fromUtf16(in).toStdString();
    // Out of range, malformed, unknown, too long or without ";": left as it is.
    for (const char16_t* in :
         {u"&#0;", u"&#65535;", u"&#x;", u"&#12a;", u"&#-5;", u"&#128512;", u"&#x0000041;",
          u"&EACUTE;", u"a & b; c", u"&verylongname;", u"&lt", u"&;", u"&"})
        EXPECT_EQ(lw::stringByUnescapingHTML(u(in)), u(in)) << QString::fromUtf16(in).toStdString();
    const struct {
        const char16_t* in;
        const char16_t* out;
    } cases[] = {{u"&#1;", u"\u0001"},
                 {u"&#xfffe;", u"\uFFFE"},
                 {u"&abc&lt;", u"&abc<"},
                 {u"&amp;lt;", u"&lt;"}, // decoded text is not decoded again
                 {u"x&&lt;;", u"x&<;"},
                 {u"&l&gt;t;", u"&l>t;"},
                 {u"\U0001F600&amp;\U0001F600", u"\U0001F600&\U0001F600"}};
    for (const auto& c : cases)
        EXPECT_EQ(lw::stringByUnescapingHTML(u(c.in)), u(c.out))
            << QString::fromUtf16(c.in).toStdString();
    // Text without "&" comes back as it is, not copied.
    const QString plain = QString::fromLatin1("no entities; none");
    EXPECT_TRUE(lw::stringByUnescapingHTML(plain).isSharedWith(plain));
}

TEST(URLText, SplittingEncodingAndQueryLookup) {
    // Empty pieces stay; exactly one "://" is needed.
    EXPECT_EQ(lw::splitIntoURLComponents(u"app://h//x"_s), (QStringList{"app", "h", "", "x"}));
    EXPECT_EQ(lw::splitIntoURLComponents(u"app://handler/"_s), (QStringList{"app", "handler", ""}));
    for (const QString& bad : {u"app:/handler"_s, u"a://b://c"_s, QString()})
        EXPECT_TRUE(lw::splitIntoURLComponents(bad).isEmpty()) << bad.toStdString();

    // All but the unreserved characters, as UTF-8; a lone surrogate has no UTF-8 form.
    EXPECT_EQ(lw::stringByEncodingAsUrlParameterValue(u"/?#%+&=:;@$,!*'()[] \t-._~aZ9"_s),
              u"%2F%3F%23%25%2B%26%3D%3A%3B%40%24%2C%21%2A%27%28%29%5B%5D%20%09-._~aZ9"_s);
    EXPECT_EQ(lw::stringByEncodingAsUrlParameterValue(QChar(0) + u(u"\u00A0\u00E9\U0001F600")),
              u"%00%C2%A0%C3%A9%F0%9F%98%80"_s);
    EXPECT_FALSE(lw::stringByEncodingAsUrlParameterValue(QString(QChar(0xD800))));
    EXPECT_FALSE(lw::stringByEncodingAsUrlParameterValue(u"a"_s + QChar(0xDC00)));

    // Whole keys only, escapes kept.
    const QUrl url(u"https://example.org/list?pages=2&page=5&q=a%20b&e=&page=9"_s);
    EXPECT_EQ(lw::valueForQuerParameter(url, u"page"_s), u"5"_s);
    EXPECT_EQ(lw::valueForQuerParameter(url, u"q"_s), u"a%20b"_s);
    EXPECT_EQ(lw::valueForQuerParameter(url, u"e"_s), QString(""));
    for (const QString& missing : {u"p"_s, u"Page"_s})
        EXPECT_FALSE(lw::valueForQuerParameter(url, missing));
}

TEST(StringAdditions, PrefixesAndEnterKeys) {
    EXPECT_EQ(lw::uniquePrefixComparedTo(u"Apple"_s, u"Apron"_s), u"App"_s);
    EXPECT_EQ(lw::uniquePrefixComparedTo(u"Abc"_s, u"Ab"_s), u"Abc"_s);
    EXPECT_EQ(lw::uniquePrefixComparedTo(u"Apple"_s, std::nullopt), u"A"_s);
    EXPECT_EQ(lw::uniquePrefixComparedTo(QString(), std::nullopt), QString());

    for (const char* enter : {"\x03", "\n", "\r"})
        EXPECT_TRUE(lw::isAnyEnterCharacter(QString::fromLatin1(enter)));
    for (const char* other : {"\r\n", " ", ""})
        EXPECT_FALSE(lw::isAnyEnterCharacter(QString::fromLatin1(other)));
}

TEST(DateAdditions, DurationWordingAtItsBoundaries) {
    const QDateTime base = QDateTime::fromSecsSinceEpoch(1700000000, QTimeZone::utc());
    auto words = [&](qint64 ms) {
        return lw::durationInDaysHoursOrMinutesSinceDate(base, base.addMSecs(ms));
    };
    const std::pair<qint64, const char*> cases[] = {
        {59999, "less than 1 minute"}, {60000, "1 minute"},
        {3599000, "59 minutes"},       {7199000, "1 hour"},
        {86399000, "23 hours"},        {172799000, "1 day"},
        {172800000, "2 days"},         {259200000000000000, "3000000000 days"}}; // beyond 32 bits
    for (const auto& [ms, expected] : cases) {
        EXPECT_EQ(words(ms), QLatin1String(expected)) << ms;
        EXPECT_EQ(words(-ms), QLatin1String(expected)) << -ms;
    }

    LWDurationInDaysHoursOrMinutesValueTransformer transformer;
    EXPECT_EQ(transformer.transformedValue(QDateTime::currentDateTime().addSecs(-7300)).toString(),
              u"2 hours"_s);
    EXPECT_FALSE(transformer.transformedValue(u"yesterday"_s).isValid());
}

TEST(DateAdditions, ComparisonsAndCalendarArithmetic) {
    const QDateTime a = QDateTime::fromMSecsSinceEpoch(1700000000000);
    EXPECT_TRUE(lw::isMoreRecentThan(a, QDateTime()));
    EXPECT_FALSE(lw::isMoreRecentThan(a, a));

    const QDateTime january31(QDate(2023, 1, 31), QTime(10, 0));
    EXPECT_EQ(lw::dateOffsetByMonths(january31, 1, 0).date(), QDate(2023, 2, 28));
    EXPECT_EQ(lw::dateOffsetByMonths(january31, -2, -31).date(), QDate(2022, 10, 30));

    const QDateTime morning(QDate(2023, 5, 4), QTime(0, 0, 1));
    EXPECT_TRUE(lw::isOnSameDayAs(morning, QDateTime(QDate(2023, 5, 4), QTime(23, 59, 59))));
    EXPECT_FALSE(lw::isOnSameDayAs(morning, morning.addSecs(-2)));
}

TEST(ArrayAdditions, SafeAndRotatingAccessAndMapping) {
    const QStringList list{"a", "b", "c"};
    for (int outside : {3, -1})
        EXPECT_FALSE(lw::boundsSafeObjectAtIndex(list, outside));

    auto s = [](const char* t) { return std::optional<QString>(QString::fromUtf8(t)); };
    EXPECT_EQ(lw::objectAfter(list, s("c"), true), s("a"));
    EXPECT_FALSE(lw::objectAfter(list, s("c"), false));
    EXPECT_EQ(lw::objectBefore(list, s("a"), true), s("c"));
    EXPECT_FALSE(lw::objectAfter(list, s("z"), true));
    // The first equal element counts.
    EXPECT_EQ(lw::objectAfter(QStringList{"x", "y", "x", "z"}, s("x"), false), s("y"));

    EXPECT_EQ(lw::arrayByTrimmingStringsAndRemovingEmptyOnes({" a ", "\n", "", "b\t\n", " \u3000"}),
              (QStringList{"a", "b"}));
    const QList<int> mapped = lw::map(list, [](const QString& e) -> std::optional<int> {
        return e == u"b"_s ? std::nullopt : std::optional<int>(e[0].unicode());
    });
    EXPECT_EQ(mapped, (QList<int>{'a', 'c'}));
}

TEST(ObjectAdditions, EmptyValuesFallBack) {
    const QVariant fallback(u"default"_s);
    EXPECT_EQ(lw::useValueIfNotEmpty(QVariant(), fallback), fallback);
    EXPECT_EQ(lw::useValueIfNotEmpty(u" \n\t "_s, fallback), fallback);
    EXPECT_EQ(lw::useValueIfNotEmpty(QStringList(), fallback), fallback);
    EXPECT_EQ(lw::useValueIfNotEmpty(QStringList{""}, fallback), QStringList{""});
    EXPECT_EQ(lw::useValueIfNotEmpty(0, fallback), 0);
}

TEST(ErrorRecords, BetterErrorsKeepTheOriginalUnderneath) {
    const LWError plain(u"LWFileDomain"_s, 4);
    EXPECT_EQ(plain.localizedDescription(),
              u"The operation couldn\u2019t be completed. (LWFileDomain error 4.)"_s);
    const LWError better = plain.betterErrorWithLocalizedDescription(
        u"The list could not be read."_s, u"Check the file."_s);
    EXPECT_EQ(better.code(), 4);
    EXPECT_FALSE(better.userInfo().contains(LWError::LocalizedFailureReasonErrorKey));
    ASSERT_NE(better.underlyingError(), nullptr);

    const LWError reasoned(u"D"_s, -1, {{LWError::LocalizedFailureReasonErrorKey, u"gone"_s}});
    const LWError chained = reasoned.betterErrorWithLocalizedDescription(QString(), QString());
    EXPECT_EQ(chained.localizedFailureReason(), u"gone"_s);
    EXPECT_FALSE(chained.userInfo().contains(LWError::LocalizedDescriptionKey));
}

TEST(Bundle, ReadsKeysAndTreatsDamagedFilesAsEmpty) {
    const QString dir = dwtest::homePath() + u"/bundle"_s;
    dwtest::writeFile(dir + u"/Info.json"_s,
                      R"({"CFBundleIdentifier": "org.example.app", "LWConfigLogLevel": 3})");
    const LWBundle bundle = LWBundle::fromJsonFile(dir + u"/Info.json"_s);
    EXPECT_EQ(bundle.bundleIdentifier(), u"org.example.app"_s);
    EXPECT_EQ(bundle.objectForInfoDictionaryKey(u"LWConfigLogLevel"_s).toInt(), 3);
    EXPECT_FALSE(bundle.objectForInfoDictionaryKey(u"Missing"_s).isValid());

    dwtest::writeFile(dir + u"/Broken.json"_s, "{\"CFBundleName\": ");
    EXPECT_TRUE(LWBundle::fromJsonFile(dir + u"/Broken.json"_s).infoDictionary().isEmpty());
    EXPECT_TRUE(LWBundle::fromJsonFile(dir + u"/none.json"_s).infoDictionary().isEmpty());
}

TEST(Preferences, LiveUnderTheTestsPrivateConfigFolder) {
    LWPreferences prefs(u"Wrenfield"_s, u"Dotwise"_s);
    prefs.setObject(u"TaskLists"_s, QByteArray("\x00\xff\x01", 3));
    EXPECT_TRUE(prefs.fileName().startsWith(dwtest::homePath())) << prefs.fileName().toStdString();
    EXPECT_TRUE(prefs.fileName().endsWith(u"/Wrenfield/Dotwise.conf"_s));
    // A second wrapper over the same store sees the write at once.
    LWPreferences again(u"Wrenfield"_s, u"Dotwise"_s);
    EXPECT_EQ(again.dataForKey(u"TaskLists"_s), QByteArray("\x00\xff\x01", 3));
    again.removeObject(u"TaskLists"_s);
    EXPECT_FALSE(prefs.contains(u"TaskLists"_s));

    // Hand-edited booleans.
    dwtest::writeFile(prefs.fileName(), "[General]\na=NO\nb=no\nc=false\nd=0\ne=maybe\nf=\n"
                                        "g=YES\nh=yes\ni=true\nj=T\nk=1\nl= -007\n");
    LWPreferences edited(u"Wrenfield"_s, u"Dotwise"_s);
    QString read;
    for (const char* key : {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l"})
        read += edited.boolForKey(QString::fromLatin1(key)) ? u'1' : u'0';
    EXPECT_EQ(read, u"000000111111"_s);
}
