#include "model/DWTaskCounter.h"

#include "model/DWContainsTaskRule.h"
#include "model/DWPrefixTaskRule.h"
#include "model/DWTaskRuleSet.h"
#include "model/DWTextDecoder.h"
#include "support/TestEnvironment.h"

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
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

TEST(Counting, ExamplesOfEachStyleLineBreakAndFallBackToLatin1) {
    const auto taskPaper = DWTaskRuleSet::taskPaperRuleSet();
    const auto todo = DWTaskRuleSet::todotxtRuleSet();
    const auto box = DWTaskRuleSet::squareBracketStyleRuleSet();
    const auto lines = std::make_shared<DWTaskRuleSet>(
        DWTaskRuleArray{std::make_shared<EveryLineRule>()}, std::nullopt, u"lines"_s);
    const std::tuple<DWTaskRuleSet*, QByteArray, int> cases[] = {
        {taskPaper.get(),
         "Project:\n\t- one\n- two @done\n- three @Done(2012-01-02)\n  - four\t@done", 2},
        {todo.get(), "(A) call\r\n\n \t \nx 2012-01-02 paid\nxylophone\n", 1},
        {box.get(), "- [ ] a\n-[ ] b\n- [x] c\n* [ ] d", 2},
        {lines.get(), "", 1},
        {lines.get(), "a\r\nb\n", 4},
        {lines.get(), "a\vb\fc\rd\ne\xC2\x85 f\xE2\x80\xA8g\xE2\x80\xA9h", 8},
        // In Latin-1 (not UTF-8 because of the lone 0x85) the byte 0x85 is U+0085.
        {lines.get(), "a\x85 b\xE9", 2},
        {taskPaper.get(), "- caf\xE9 @DONE\n- na\xEFve\n", 1},
        // Read as UTF-8 at first, these bytes hold one line; as Latin-1, which the
        // last byte calls for, "\xC3\x85" is a letter and a line break, and
        // "\xE2\x80\xA8" is no line break at all.
        {box.get(), "-[] \xC3\x85-[] b\n\xFF", 2},
        {box.get(), "-[] a\xE2\x80\xA8-[] b\xFF", 1},
        // With a UTF-8 mark the text stays UTF-8 and damaged bytes are replaced.
        {box.get(), "\xEF\xBB\xBF-[] a\xE2\x80\xA8-[] b\xFF", 2}};
    for (const auto& [set, bytes, count] : cases)
        EXPECT_EQ(countEveryWay(*set, bytes), count);
}

TEST(Decoding, MarksChooseTheEncodingDamagedBytesAreReplacedUtf8ValidityFollowsQt) {
    const auto box = DWTaskRuleSet::squareBracketStyleRuleSet();
    const QString text = QString::fromUtf8("- [ ] caf\u00e9\n- [x] done\n\t- [ ] \u2603 snow\n");
    for (const auto encoding :
         {QStringConverter::Utf8, QStringConverter::Utf16LE, QStringConverter::Utf16BE,
          QStringConverter::Utf32LE, QStringConverter::Utf32BE}) {
        const QByteArray bytes = encoded(text, encoding);
        EXPECT_EQ(DWTextDecoder::decodeAll(bytes), text) << bytes.left(4).toHex().data();
        EXPECT_EQ(countEveryWay(*box, bytes), 2);
    }
    // The bytes in hexadecimal, and their text.
    const std::pair<const char*, const char16_t*> cases[] = {
        {"636166 c3a9", u"caf\u00e9"},
        // Without a mark, one bad byte at the end makes all of it Latin-1.
        {"c3a9 ff", u"\u00c3\u00a9\u00ff"},
        {"efbbbf 61 e280 0a", u"a\uFFFD\uFFFD\n"},
        // A lone high surrogate, a lone low one and an odd last byte.
        {"fffe 4100 00d8 4200 00dc 43", u"A\uFFFDB\uFFFD\uFFFD"},
        // Above U+10FFFF, a surrogate, three bytes left over.
        {"fffe0000 00001100 00d80000 41000000 0a0000", u"\uFFFD\uFFFDA\uFFFD"},
        {"feff 000a 00", u"\n\uFFFD"}};
    for (const auto& [hex, decoded] : cases) {
        const QByteArray bytes = QByteArray::fromHex(hex);
        EXPECT_EQ(DWTextDecoder::decodeAll(bytes), QStringView(decoded).toString()) << hex;
        countEveryWay(*DWTaskRuleSet::todotxtRuleSet(), bytes);
    }

    // Boundaries, overlong forms, surrogates, above U+10FFFF, cut and stray
    // bytes, checked a byte at a time.
    for (const QByteArray& bytes :
         {"\xDF\xBF"_ba, "\xF4\x8F\xBF\xBF"_ba, "\xC0\x80"_ba, "\xE0\x9F\xBF"_ba, "\xED\xA0\x80"_ba,
          "\xF4\x90\x80\x80"_ba, "\x80"_ba, "a\xF0\x9F\x98"_ba, "\xC2\x41"_ba}) {
        DWTextDecoder::Utf8Validator validator;
        for (const char byte : bytes)
            validator.feed(QByteArrayView(&byte, 1));
        EXPECT_EQ(validator.finish(), bytes.isValidUtf8()) << bytes.toHex().data();
        if (bytes.isValidUtf8()) {
            EXPECT_EQ(DWTextDecoder::decodeAll(bytes), QString::fromUtf8(bytes));
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

TEST(CountingFiles, LargeFilesAreReadInPiecesAndLeftAsTheyWereUnreadableOnesGiveAReason) {
    QByteArray bytes;
    for (int i = 0; bytes.size() < 3 * DWTaskCounter::defaultChunkSize; ++i)
        bytes += (i % 3 == 0 ? "x done " : "(B) open ") + QByteArray::number(i) + "\xC3\xA9\r\n";
    const QString file = dwtest::homePath() + u"/large.txt"_s;
    dwtest::writeFile(file, bytes);
    const QDateTime modified = QFileInfo(file).lastModified();

    const DWTaskCounter counter(*DWTaskRuleSet::todotxtRuleSet());
    const DWCountResult result = counter.countFile(file);
    EXPECT_EQ(result.openTasks, counter.countText(QString::fromUtf8(bytes)));
    EXPECT_EQ(counter.countFile(file, DWTaskCounter::Method::General).openTasks, result.openTasks);
    EXPECT_EQ(dwtest::readFile(file), bytes);
    EXPECT_EQ(QFileInfo(file).lastModified(), modified);

    dwtest::writeFile(file, encoded(QString::fromUtf8(bytes), QStringConverter::Utf16LE));
    EXPECT_EQ(counter.countFile(file).openTasks, result.openTasks);

    const QString home = dwtest::homePath();
    // A pipe would block a reader forever; it is refused at once.
    ASSERT_EQ(mkfifo(QFile::encodeName(home + u"/pipe.txt"_s).constData(), 0600), 0);
    const QString locked = home + u"/locked.txt"_s;
    dwtest::writeFile(locked, "call mum\n");
    ASSERT_EQ(chmod(QFile::encodeName(locked).constData(), 0), 0);
    const std::pair<QString, QString> cases[] = {
        {home + u"/gone.txt"_s, u"No such file or directory"_s},
        {home, u"Is a directory"_s},
        {home + u"/pipe.txt"_s, u"Not a regular file"_s},
        {locked, geteuid() == 0 ? QString() : u"Permission denied"_s}};
    for (const auto& [path, error] : cases) {
        const DWCountResult unread = counter.countFile(path);
        EXPECT_EQ(unread.error, error) << path.toStdString();
        EXPECT_EQ(unread.openTasks, error.isEmpty() ? 1 : 0);
    }
}
