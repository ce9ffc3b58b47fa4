#include "model/DWTaskCounter.h"

#include "model/DWContainsTaskRule.h"
#include "model/DWPrefixTaskRule.h"
#include "model/DWTaskRuleSet.h"
#include "model/DWTextDecoder.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QStringDecoder>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {
// Matches every line, empty ones too: counts lines. It has no byte form.
class EveryLineRule : public DWTaskRuleProtocol {
public:
    bool matchesLine(QStringView, QStringView) const override { return true; }
};

std::shared_ptr<DWTaskRuleSet> customSet(const QString& prefix, const QString& token) {
    return std::make_shared<DWTaskRuleSet>(
        DWTaskRuleArray{DWPrefixTaskRule::ruleWithPrefix(prefix)},
        DWTaskRuleArray{DWContainsTaskRule::ruleWithToken(token)}, u"custom"_s);
}

// Counts `bytes` every way there is and insists that all agree: whole text
// decoded at once, the general way and the byte way, in pieces of several sizes.
int countEveryWay(const DWTaskRuleSet& set, const QByteArray& bytes) {
    const DWTaskCounter counter(set);
    const int expected = counter.countText(DWTextDecoder::decodeAll(bytes));
    for (const qsizetype chunk :
         {qsizetype(1), qsizetype(3), qsizetype(64), DWTaskCounter::defaultChunkSize})
        for (const auto method : {DWTaskCounter::Method::General, DWTaskCounter::Method::Bytes})
            EXPECT_EQ(counter.countData(bytes, method, chunk), expected)
                << int(method) << ", chunk " << chunk << ", set " << set.name().toStdString()
                << ", bytes " << bytes.toHex(' ').toStdString();
    return expected;
}

QByteArray encoded(const QString& text, QStringConverter::Encoding encoding) {
    return QStringEncoder(encoding, QStringConverter::Flag::WriteBom).encode(text);
}
} // namespace

TEST(Counting, ExamplesOfEachStyleAndEveryLineBreak) {
    EXPECT_EQ(countEveryWay(*DWTaskRuleSet::taskPaperRuleSet(),
                            "Project:\n\t- one\n- two @done\n- three @Done(2012-01-02)\n"
                            "  - four\t@done"),
              2);
    EXPECT_EQ(countEveryWay(*DWTaskRuleSet::todotxtRuleSet(),
                            "(A) call\r\n\n \t \nx 2012-01-02 paid\nxylophone\n"),
              1);
    EXPECT_EQ(countEveryWay(*DWTaskRuleSet::squareBracketStyleRuleSet(),
                            "- [ ] a\n-[ ] b\n- [x] c\n* [ ] d"),
              2);

    const DWTaskRuleSet lines(DWTaskRuleArray{std::make_shared<EveryLineRule>()}, std::nullopt,
                              u"lines"_s);
    EXPECT_EQ(countEveryWay(lines, ""), 1);
    EXPECT_EQ(countEveryWay(lines, "a\r\nb\n"), 4);
    EXPECT_EQ(countEveryWay(lines, "a\x0B"
                                   "b\x0C"
                                   "c\rd\ne\xC2\x85"
                                   "f\xE2\x80\xA8g\xE2\x80\xA9h"),
              8);
    // In Latin-1 (not UTF-8 because of the lone 0x85) the byte 0x85 is U+0085.
    EXPECT_EQ(countEveryWay(lines, "a\x85"
                                   "b\xE9"),
              2);
}

TEST(Decoding, ByteOrderMarksChooseTheEncoding) {
    const QString text = QString::fromUtf8("- [ ] caf\u00e9\n- [x] done\n\t- [ ] \u2603 snow\n");
    for (const auto encoding :
         {QStringConverter::Utf8, QStringConverter::Utf16LE, QStringConverter::Utf16BE,
          QStringConverter::Utf32LE, QStringConverter::Utf32BE}) {
        const QByteArray bytes = encoded(text, encoding);
        EXPECT_EQ(DWTextDecoder::decodeAll(bytes), text) << bytes.left(4).toHex().data();
        EXPECT_EQ(countEveryWay(*DWTaskRuleSet::squareBracketStyleRuleSet(), bytes), 2);
    }
}

TEST(Decoding, WithoutAMarkUtf8OrElseLatin1) {
    EXPECT_EQ(DWTextDecoder::decodeAll("caf\xC3\xA9"), QString::fromUtf8("caf\u00e9"));
    // One bad byte at the end makes all of it Latin-1.
    EXPECT_EQ(DWTextDecoder::decodeAll("\xC3\xA9\xFF"), QString::fromUtf8("\u00c3\u00a9\u00ff"));
    EXPECT_EQ(countEveryWay(*DWTaskRuleSet::taskPaperRuleSet(), "- caf\xE9 @DONE\n- na\xEFve\n"),
              1);

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
    EXPECT_EQ(countEveryWay(*DWTaskRuleSet::todotxtRuleSet(), QByteArray("\xFE\xFF\0\n\0", 5)), 1);
}

TEST(Decoding, Utf8ValidityFollowsQt) {
    // Boundaries, overlong forms, surrogates, above U+10FFFF, cut and stray bytes.
    for (const QByteArray& bytes :
         {"\xDF\xBF"_ba, "\xF4\x8F\xBF\xBF"_ba, "\xC0\x80"_ba, "\xE0\x9F\xBF"_ba, "\xED\xA0\x80"_ba,
          "\xF4\x90\x80\x80"_ba, "\x80"_ba, "a\xF0\x9F\x98"_ba, "\xC2\x41"_ba}) {
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
    QList<QByteArray> pieces =
        QByteArray("x|X|-|[|]| |\t|\n|\r|\x0B| @done|@DONE| @D|one|k|\xC2\x85|"
                   "\xE2\x80\xA8|\x85|\xC3\x85|\xE2\x84\xAA|\xF0\x9F\x98\x80|"
                   "\xFF|\xE2\x80|\xEF\xBB\xBF")
            .split('|');
    pieces.append(QByteArray(1, '\0'));
    const QList<std::shared_ptr<DWTaskRuleSet>> sets = {
        DWTaskRuleSet::todotxtRuleSet(), DWTaskRuleSet::taskPaperRuleSet(),
        DWTaskRuleSet::squareBracketStyleRuleSet(), customSet(u"-[x"_s, u"ne\t"_s),
        customSet(u"x"_s, u"@d"_s)};
    QRandomGenerator random(20240611);
    for (int round = 0; round < 400 && !HasFailure(); ++round) {
        QByteArray bytes;
        for (int i = random.bounded(40); i > 0; --i)
            bytes += pieces[random.bounded(int(pieces.size()))];
        const int form = random.bounded(6);
        if (form == 0)
            bytes.prepend("\xEF\xBB\xBF");
        else if (form < 3)
            bytes = encoded(QString::fromUtf8(bytes),
                            form == 1 ? QStringConverter::Utf16LE : QStringConverter::Utf32BE);
        for (const auto& set : sets)
            countEveryWay(*set, bytes);
    }
}

TEST(CountingFiles, LargeFilesAreReadInPiecesAndLeftAsTheyWere) {
    QByteArray bytes;
    for (int i = 0; bytes.size() < 3 * DWTaskCounter::defaultChunkSize; ++i)
        bytes += (i % 3 == 0 ? "x done " : "(B) open ") + QByteArray::number(i) + "\xC3\xA9\r\n";
    const QString file = dwtest::homePath() + u"/large.txt"_s;
    dwtest::writeFile(file, bytes);
    const QDateTime modified = QFileInfo(file).lastModified();

    const DWTaskCounter counter(*DWTaskRuleSet::todotxtRuleSet());
    const DWCountResult result = counter.countFile(file);
    EXPECT_TRUE(result.error.isEmpty());
    EXPECT_EQ(result.openTasks, counter.countText(QString::fromUtf8(bytes)));
    EXPECT_EQ(counter.countFile(file, DWTaskCounter::Method::General).openTasks, result.openTasks);
    EXPECT_EQ(dwtest::readFile(file), bytes);
    EXPECT_EQ(QFileInfo(file).lastModified(), modified);

    dwtest::writeFile(file, encoded(QString::fromUtf8(bytes), QStringConverter::Utf16LE));
    EXPECT_EQ(counter.countFile(file).openTasks, result.openTasks);
}

TEST(CountingFiles, WhatCannotBeReadCountsZeroWithAReason) {
    const DWTaskCounter counter(*DWTaskRuleSet::todotxtRuleSet());
    const QString home = dwtest::homePath();
    // A pipe would block a reader forever; it is refused at once.
    ASSERT_EQ(mkfifo(QFile::encodeName(home + u"/pipe.txt"_s).constData(), 0600), 0);
    const QString locked = home + u"/locked.txt"_s;
    dwtest::writeFile(locked, "call mum\n");
    ASSERT_EQ(chmod(QFile::encodeName(locked).constData(), 0), 0);
    const struct {
        QString path, error;
    } cases[] = {{home + u"/gone.txt"_s, u"No such file or directory"_s},
                 {home, u"Is a directory"_s},
                 {home + u"/pipe.txt"_s, u"Not a regular file"_s},
                 {locked, geteuid() == 0 ? QString() : u"Permission denied"_s}};
    for (const auto& c : cases) {
        const DWCountResult result = counter.countFile(c.path);
        EXPECT_EQ(result.error, c.error) << c.path.toStdString();
        EXPECT_EQ(result.openTasks, c.error.isEmpty() ? 1 : 0);
    }
}
