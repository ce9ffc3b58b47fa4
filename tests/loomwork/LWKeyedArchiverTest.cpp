#include "foundation/LWKeyedArchiver.h"

#include "foundation/LWKeyedUnarchiver.h"

#include <QCborMap>
#include <QCborValue>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
// A record with the value kinds that task lists do not use, holding records.
struct Note : LWCoding {
    qint64 number = 0;
    bool flag = false;
    double weight = 0;
    QByteArray blob;
    std::shared_ptr<Note> parent;

    QString classNameForCoder() const override { return u"Note"_s; }
    void encodeWithCoder(LWKeyedArchiver& coder) const override {
        coder.encodeInteger(number, u"number"_s);
        coder.encodeBool(flag, u"flag"_s);
        coder.encodeDouble(weight, u"weight"_s);
        coder.encodeBytes(blob, u"blob"_s);
        coder.encodeObject(parent.get(), u"parent"_s);
    }
    static std::shared_ptr<LWCoding> decode(LWKeyedUnarchiver& coder) {
        auto note = std::make_shared<Note>();
        note->number = coder.decodeIntegerForKey(u"number"_s);
        note->flag = coder.decodeBoolForKey(u"flag"_s);
        note->weight = coder.decodeDoubleForKey(u"weight"_s);
        note->blob = coder.decodeBytesForKey(u"blob"_s);
        note->parent = std::dynamic_pointer_cast<Note>(coder.decodeObjectForKey(u"parent"_s));
        return note->number < 0 ? nullptr : note; // a decoder may refuse what makes no sense
    }
};

class KeyedArchiveTest : public ::testing::Test {
    void SetUp() override { LWKeyedUnarchiver::registerDecoder(u"Note"_s, Note::decode); }
};
} // namespace

TEST_F(KeyedArchiveTest, ValuesAndNestedObjectsRoundTrip) {
    Note root;
    root.number = qint64(1) << 40;
    root.flag = true;
    root.weight = 2.5;
    root.blob = QByteArray("\0\xFF", 2);
    root.parent = std::make_shared<Note>();
    root.parent->number = 7;

    const auto decoded = LWKeyedUnarchiver::unarchiveObjectWithData(
        LWKeyedArchiver::archivedDataWithRootObject(&root));
    ASSERT_TRUE(decoded);
    const auto note = std::dynamic_pointer_cast<Note>(*decoded);
    ASSERT_TRUE(note && note->parent);
    EXPECT_EQ(std::tuple(note->number, note->flag, note->weight, note->blob),
              std::tuple(root.number, true, 2.5, root.blob));
    EXPECT_EQ(note->parent->number, 7);
    EXPECT_EQ(note->parent->parent, nullptr);

    // A stored null root is a null object, not a failure.
    const auto none = LWKeyedUnarchiver::unarchiveObjectWithData(
        LWKeyedArchiver::archivedDataWithRootObject(nullptr));
    ASSERT_TRUE(none);
    EXPECT_EQ(*none, nullptr);
}

TEST_F(KeyedArchiveTest, AnyFaultInsideFailsTheWholeArchive) {
    Note root;
    root.parent = std::make_shared<Note>();
    root.parent->number = -1; // refused by its decoder
    const QByteArray refused = LWKeyedArchiver::archivedDataWithRootObject(&root);
    QString error;
    EXPECT_FALSE(LWKeyedUnarchiver::unarchiveObjectWithData(refused, &error));
    EXPECT_EQ(error, u"the Note decoder refused its keys"_s);

    // A value of the wrong type, one level down.
    QCborMap top = QCborValue::fromCbor(refused).toMap();
    const QCborMap bad{{u"$class"_s, u"Note"_s}, {u"flag"_s, u"yes"_s}};
    top.insert(u"$top"_s, QCborMap{{u"$class"_s, u"Note"_s}, {u"parent"_s, bad}});
    EXPECT_FALSE(LWKeyedUnarchiver::unarchiveObjectWithData(top.toCborValue().toCbor(), &error));
    EXPECT_EQ(error, u"the value for 'flag' has the wrong type"_s);

    // Nesting deeper than CBOR allows is refused, not a stack overflow.
    QByteArray deep(100000, '\x81'); // arrays of one element, nested
    deep += '\x80';
    EXPECT_FALSE(LWKeyedUnarchiver::unarchiveObjectWithData(deep));
}
