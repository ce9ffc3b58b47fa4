#include "model/DWTaskCounter.h"

#include "model/DWContainsTaskRule.h"
#include "model/DWPrefixTaskRule.h"
#include "model/DWTaskRuleSet.h"
#include "model/DWTextDecoder.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QStringDecoder>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
// Matches every line, empty ones too: counts lines. It has no byte form.
class EveryLineRule : public DWTaskRuleProtocol {
public:
    bool matchesLine(QStringView, QStringView) const override { return true; }
};

std::shared_ptr<DWTaskRuleSet> lineCounting() {
    return std::make_shared<DWTaskRuleSet>(DWTaskRuleArray{std::make_shared<EveryLineRule>()},
                                           std::nullopt, QStringLiteral("lines"));
}

std::shared_ptr<DWTaskRuleSet> customSet(const QString& prefix, const QString& token) {
    return std::make_shared<DWTaskRuleSet>(
        DWTaskRuleArray{DWPrefixTaskRule::ruleWithPrefix(prefix)},
        DWTaskRuleArray{DWContainsTaskRule::ruleWithToken(token)}, QStringLiteral("custom"));
}

// Counts `bytes` every way there is and insists that all agree: whole text
// decoded at once, the general way and the byte way, in pieces of several sizes.
int countEveryWay(const DWTaskRuleSet& set, const QByteArray& bytes) {
    const DWTaskCounter counter(set);
    const int expected = counter.countText(DWTextDecoder::decodeAll(bytes));
    for (const qsizetype chunk : {qsizetype(1), qsizetype(2), qsizetype(3), qsizetype(7),
                                  qsizetype(64), DWTaskCounter::defaultChunkSize}) {
        EXPECT_EQ(counter.countData(bytes, DWTaskCounter::Method::General, chunk), expected)
            << "general, chunk " << chunk << ", set " << set.name().toStdString() << ", bytes "
            << bytes.toHex(' ').toStdString();
        EXPECT_EQ(counter.countData(bytes, DWTaskCounter::Method::Bytes, chunk), expected)
            << "bytes, chunk " << chunk << ", set " << set.name().toStdString() << ", bytes "
            << bytes.toHex(' ').toStdString();
    }
    return expected;
}

QByteArray encoded(const QString& text, QStringConverter::Encoding encoding) {
    return QStringEncoder(encoding, QStringConverter::Flag::WriteBom).encode(text);
}
} // namespace

TEST(Counting, ExamplesOfEachStyle) {
    EXPECT_EQ(countEveryWay(*DWTaskRuleSet::taskPaperRuleSet(),
                            "Project:\n\t- one\n- two @done\n- three @Done(2012-01-02)\n"
                            "  - four\t@done"),
              2);
    EXPECT_EQ(countEveryWay(*DWTaskRuleSet::todotxtRuleSet(),
                            "(A) call\n\n \t \nx 2012-01-02 paid\nxylophone\n"),
              1);
    EXPECT_EQ(countEveryWay(*DWTaskRuleSet::squareBracketStyleRuleSet(),
                            "- [ ] a\n-[ ] b\n- [x] c\n* [ ] d"),
              2);
    EXPECT_EQ(countEveryWay(*DWTaskRuleSet::todotxtRuleSet(), ""), 0);
}

TEST(Counting, EveryLineBreakCharacterEndsALineByItself) {
    const auto lines = lineCounting();
    EXPECT_EQ(countEveryWay(*lines, ""), 1);
    EXPECT_EQ(countEveryWay(*lines, "a\n"), 2);
    EXPECT_EQ(countEveryWay(*lines, "a\r\nb"), 3);
    EXPECT_EQ(countEveryWay(*lines, "a\x0B"
                                    "b\x0C"
                                    "c\rd\ne\xC2\x85"
                                    "f\xE2\x80\xA8g\xE2\x80\xA9h"),
              8);
    // In Latin-1 (not UTF-8 because of the lone 0x85) the byte 0x85 is U+0085.
    EXPECT_EQ(countEveryWay(*lines, "a\x85"
                                    "b\xE9"),
              2);

    const auto box = DWTaskRuleSet::squareBracketStyleRuleSet();
    for (const QByteArray& separator :
         {QByteArray("\n"), QByteArray("\r"), QByteArray("\x0B"), QByteArray("\x0C"),
          QByteArray("\xC2\x85"), QByteArray("\xE2\x80\xA8"), QByteArray("\xE2\x80\xA9")})
        EXPECT_EQ(countEveryWay(*box, "-[] a" + separator + "-[] b"), 2)
            << separator.toHex().data();
}

TEST(Counting, CarriageReturnLineFeedCountsLikeLineFeed) {
    const QByteArray lf = "(A) call\n\nx paid\n- [ ] open\n  - two @done\n";
    QByteArray crlf = lf;
    crlf.replace("\n", "\r\n");
    for (const auto& set : {DWTaskRuleSet::todotxtRuleSet(), DWTaskRuleSet::taskPaperRuleSet(),
                            DWTaskRuleSet::squareBracketStyleRuleSet()})
        EXPECT_EQ(countEveryWay(*set, crlf), countEveryWay(*set, lf)) << set->name().toStdString();
}

TEST(Decoding, ByteOrderMarksChooseTheEncoding) {
    const QString text = QString::fromUtf8("- [ ] caf\u00e9\n- [x] done\n\t- [ ] \u2603 snow\n");
    const auto box = DWTaskRuleSet::squareBracketStyleRuleSet();
    for (const auto encoding :
         {QStringConverter::Utf8, QStringConverter::Utf16LE, QStringConverter::Utf16BE,
          QStringConverter::Utf32LE, QStringConverter::Utf32BE}) {
        const QByteArray bytes = encoded(text, encoding);
        EXPECT_EQ(DWTextDecoder::decodeAll(bytes), text) << bytes.left(4).toHex().data();
        EXPECT_EQ(countEveryWay(*box, bytes), 2) << bytes.left(4).toHex().data();
    }
}

TEST(Decoding, WithoutAMarkUtf8OrElseLatin1) {
    EXPECT_EQ(DWTextDecoder::decodeAll("caf\xC3\xA9"), QString::fromUtf8("caf\u00e9"));
    EXPECT_EQ(DWTextDecoder::decodeAll("caf\xE9"), QString::fromUtf8("caf\u00e9"));
    // One bad byte at the end makes all of it Latin-1.
    EXPECT_EQ(DWTextDecoder::decodeAll("\xC3\xA9\xFF"), QString::fromUtf8("\u00c3\u00a9\u00ff"));
    EXPECT_EQ(countEveryWay(*DWTaskRuleSet::taskPaperRuleSet(),
                            "- caf\xE9 @DONE\n- na\xEFve\n- \xFC"
                            "ber"),
              2);

    // Read as UTF-8 at first, these bytes hold one line; as Latin-1, which the
    // last byte calls for, "\xC3\x85" is a letter and a line break, and
    // "\xE2\x80\xA8" is no line break at all.
    const auto box = DWTaskRuleSet::squareBracketStyleRuleSet();
    EXPECT_EQ(countEveryWay(*box, "-[] \xC3\x85-[] b\n\xFF"), 2);
    EXPECT_EQ(countEveryWay(*box, "-[] a\xE2\x80\xA8-[] b\xFF"), 1);
    // With a UTF-8 mark the text stays UTF-8 and damaged bytes are replaced.
    EXPECT_EQ(countEveryWay(*box, "\xEF\xBB\xBF-[] a\xE2\x80\xA8-[] b\xFF"), 2);
    EXPECT_EQ(DWTextDecoder::decodeAll("\xEF\xBB\xBF"
                                       "a\xE2\x80\n"),
              QString::fromUtf8("a\uFFFD\uFFFD\n"));
}

TEST(Decoding, DamagedUtf16AndUtf32BecomeReplacementCharacters) {
    // A lone high surrogate, a lone low one and an odd last byte.
    EXPECT_EQ(DWTextDecoder::decodeAll(QByteArray("\xFF\xFE"
                                                  "A\0\0\xD8"
                                                  "B\0\0\xDC"
                                                  "C",
                                                  11)),
              QString::fromUtf8("A\uFFFDB\uFFFD\uFFFD"));
    // Above U+10FFFF, a surrogate, three bytes left over.
    EXPECT_EQ(DWTextDecoder::decodeAll(QByteArray("\xFF\xFE\0\0"
                                                  "\0\0\x11\0"
                                                  "\0\xD8\0\0"
                                                  "A\0\0\0"
                                                  "\x0A\0\0",
                                                  19)),
              QString::fromUtf8("\uFFFD\uFFFDA\uFFFD"));
    const auto todo = DWTaskRuleSet::todotxtRuleSet();
    EXPECT_EQ(countEveryWay(*todo, QByteArray("\xFF\xFE\n\0\0\xD8", 6)), 1);
    EXPECT_EQ(countEveryWay(*todo, QByteArray("\xFE\xFF\0\n\0", 5)), 1);
}

TEST(Decoding, Utf8ValidityFollowsQt) {
    const QByteArray cases[] = {"plain", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF",
                                "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF",
                                // Overlong forms, surrogates, above U+10FFFF, cut and stray bytes.
                                "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80",
                                "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF",
                                "\x80", "\xC2", "\xE2\x80", "a\xF0\x9F\x98", "\xC2\x41"};
    for (const QByteArray& bytes : cases) {
        QStringDecoder qt(QStringDecoder::Utf8, QStringConverter::Flag::Stateless);
        const QString text = qt.decode(bytes);
        EXPECT_EQ(DWTextDecoder::isValidUtf8(bytes), !qt.hasError()) << bytes.toHex().data();
        if (!qt.hasError()) {
            EXPECT_EQ(DWTextDecoder::decodeAll(bytes), text);
        }
    }
}

// Random text built from the pieces that matter to the rules, the line breaks
// and the encodings, counted every way.
TEST(Counting, BytesAndGeneralAgreeOnRandomText) {
    const QByteArray pieces[] = {"x",
                                 "X",
                                 "-",
                                 "[",
                                 "]",
                                 " ",
                                 "\t",
                                 "\n",
                                 "\r",
                                 "\x0B",
                                 "\x0C",
                                 " @done",
                                 "@DONE",
                                 " @D",
                                 "one",
                                 "k",
                                 "\xC2\x85",
                                 "\xE2\x80\xA8",
                                 "\xE2\x80\xA9",
                                 "\x85",
                                 "\xC3\xA9",
                                 "\xC3\x85",
                                 "\xE2\x84\xAA",
                                 "\xF0\x9F\x98\x80",
                                 "\xFF",
                                 "\xE2\x80",
                                 "\xEF\xBB\xBF",
                                 QByteArray(1, '\0')};
    const QList<std::shared_ptr<DWTaskRuleSet>> sets = {
        DWTaskRuleSet::todotxtRuleSet(), DWTaskRuleSet::taskPaperRuleSet(),
        DWTaskRuleSet::squareBracketStyleRuleSet(),
        customSet(QStringLiteral("-[x"), QStringLiteral("ne\t")),
        customSet(QStringLiteral("x"), QStringLiteral("@d"))};
    QRandomGenerator random(20240611);
    for (int round = 0; round < 400; ++round) {
        QByteArray bytes;
        const int length = random.bounded(40);
        for (int i = 0; i < length; ++i)
            bytes += pieces[random.bounded(int(std::size(pieces)))];
        switch (random.bounded(6)) {
        case 0:
            bytes.prepend("\xEF\xBB\xBF");
            break;
        case 1:
            bytes = encoded(QString::fromUtf8(bytes), QStringConverter::Utf16LE);
            break;
        case 2:
            bytes = encoded(QString::fromUtf8(bytes), QStringConverter::Utf32BE);
            break;
        default:
            break;
        }
        for (const auto& set : sets)
            countEveryWay(*set, bytes);
        if (HasFailure())
            return;
    }
}

class CountingFiles : public ::testing::Test {
protected:
    QString path(const QString& name) const { return dwtest::homePath() + u'/' + name; }
    const std::shared_ptr<DWTaskRuleSet> todo = DWTaskRuleSet::todotxtRuleSet();
};

TEST_F(CountingFiles, LargeFilesAreReadInPiecesAndLeftAsTheyWere) {
    QByteArray bytes;
    for (int i = 0; bytes.size() < 3 * DWTaskCounter::defaultChunkSize; ++i)
        bytes += (i % 3 == 0 ? "x done " : "(B) open ") + QByteArray::number(i) + "\xC3\xA9\r\n";
    const QString file = path(QStringLiteral("large.txt"));
    dwtest::writeFile(file, bytes);
    const QDateTime modified = QFileInfo(file).lastModified();

    const DWTaskCounter counter(*todo);
    const DWCountResult result = counter.countFile(file);
    EXPECT_TRUE(result.error.isEmpty());
    EXPECT_EQ(result.openTasks, counter.countText(QString::fromUtf8(bytes)));
    EXPECT_EQ(counter.countFile(file, DWTaskCounter::Method::General).openTasks, result.openTasks);
    EXPECT_EQ(dwtest::readFile(file), bytes);
    EXPECT_EQ(QFileInfo(file).lastModified(), modified);
}

TEST_F(CountingFiles, WhatCannotBeReadCountsZeroWithAReason) {
    const DWTaskCounter counter(*todo);
    const QString gone = path(QStringLiteral("gone.txt"));
    dwtest::writeFile(gone, "call mum\n");
    EXPECT_EQ(counter.countFile(gone).openTasks, 1);
    ASSERT_TRUE(QFile::remove(gone));
    DWCountResult result = counter.countFile(gone);
    EXPECT_EQ(result.openTasks, 0);
    EXPECT_EQ(result.error, QStringLiteral("No such file or directory"));

    result = counter.countFile(dwtest::homePath());
    EXPECT_EQ(result.openTasks, 0);
    EXPECT_EQ(result.error, QStringLiteral("Is a directory"));

    // A pipe would block a reader forever; it is refused at once.
    const QString pipe = path(QStringLiteral("pipe.txt"));
    ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    EXPECT_EQ(counter.countFile(pipe).error, QStringLiteral("Not a regular file"));

    if (geteuid() != 0) { // root reads anything
        const QString locked = path(QStringLiteral("locked.txt"));
        dwtest::writeFile(locked, "call mum\n");
        ASSERT_EQ(chmod(QFile::encodeName(locked).constData(), 0), 0);
        EXPECT_EQ(counter.countFile(locked).error, QStringLiteral("Permission denied"));
    }
}

TEST_F(CountingFiles, Utf16AndLatin1Files) {
    const QString utf16 = path(QStringLiteral("utf16.taskpaper"));
    dwtest::writeFile(utf16,
                      encoded(QString::fromUtf8("Home:\r\n\t- caf\u00e9\r\n\t- tea @done\r\n"),
                              QStringConverter::Utf16LE));
    EXPECT_EQ(DWTaskCounter(*DWTaskRuleSet::taskPaperRuleSet()).countFile(utf16).openTasks, 1);

    const QString latin1 = path(QStringLiteral("latin1.txt"));
    dwtest::writeFile(latin1, "- [ ] K\xE4se\n- [ ] Br\xF6tchen\n- [x] M\xFCsli\n");
    EXPECT_EQ(
        DWTaskCounter(*DWTaskRuleSet::squareBracketStyleRuleSet()).countFile(latin1).openTasks, 2);
}
