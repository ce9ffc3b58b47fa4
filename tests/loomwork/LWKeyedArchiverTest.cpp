#include "foundation/LWKeyedArchiver.h"

#include "foundation/LWKeyedUnarchiver.h"

#include <QCborMap>
#include <QCborValue>
#include <gtest/gtest.h>

namespace {
// A record of every kind of value, holding more records.
struct Note : LWCoding {
    QString title;
    qint64 number = 0;
    bool flag = false;
    double weight = 0;
    QByteArray blob;
    std::shared_ptr<Note> parent;
    QList<std::shared_ptr<Note>> children;

    QString classNameForCoder() const override { return QStringLiteral("Note"); }
    void encodeWithCoder(LWKeyedArchiver& coder) const override {
        coder.encodeString(title, QStringLiteral("title"));
        coder.encodeInteger(number, QStringLiteral("number"));
        coder.encodeBool(flag, QStringLiteral("flag"));
        coder.encodeDouble(weight, QStringLiteral("weight"));
        coder.encodeBytes(blob, QStringLiteral("blob"));
        coder.encodeObject(parent.get(), QStringLiteral("parent"));
        QList<const LWCoding*> list;
        for (const auto& child : children)
            list.append(child.get());
        coder.encodeObjects(list, QStringLiteral("children"));
    }
    static std::shared_ptr<LWCoding> decode(LWKeyedUnarchiver& coder) {
        auto note = std::make_shared<Note>();
        note->title = coder.decodeStringForKey(QStringLiteral("title"));
        note->number = coder.decodeIntegerForKey(QStringLiteral("number"));
        note->flag = coder.decodeBoolForKey(QStringLiteral("flag"));
        note->weight = coder.decodeDoubleForKey(QStringLiteral("weight"));
        note->blob = coder.decodeBytesForKey(QStringLiteral("blob"));
        note->parent =
            std::dynamic_pointer_cast<Note>(coder.decodeObjectForKey(QStringLiteral("parent")));
        for (const auto& child : coder.decodeObjectsForKey(QStringLiteral("children")))
            note->children.append(std::dynamic_pointer_cast<Note>(child));
        if (note->number < 0)
            return nullptr; // a decoder may refuse what makes no sense
        return note;
    }
};

class KeyedArchiveTest : public ::testing::Test {
protected:
    void SetUp() override {
        LWKeyedUnarchiver::registerDecoder(QStringLiteral("Note"), Note::decode);
    }
};
} // namespace

TEST_F(KeyedArchiveTest, EveryKindOfValueRoundTrips) {
    auto root = std::make_shared<Note>();
    root->title = QStringLiteral("r\u00f6\u00f6t");
    root->number = qint64(1) << 40;
    root->flag = true;
    root->weight = 2.5;
    root->blob = QByteArray("\0\xFF", 2);
    root->parent = std::make_shared<Note>();
    root->parent->title = QStringLiteral("parent");
    root->children = {std::make_shared<Note>(), nullptr};

    const auto decoded = LWKeyedUnarchiver::unarchiveObjectWithData(
        LWKeyedArchiver::archivedDataWithRootObject(root.get()));
    ASSERT_TRUE(decoded && *decoded);
    const auto note = std::dynamic_pointer_cast<Note>(*decoded);
    ASSERT_TRUE(note);
    EXPECT_EQ(note->title, root->title);
    EXPECT_EQ(note->number, root->number);
    EXPECT_TRUE(note->flag);
    EXPECT_EQ(note->weight, 2.5);
    EXPECT_EQ(note->blob, root->blob);
    ASSERT_TRUE(note->parent);
    EXPECT_EQ(note->parent->title, QStringLiteral("parent"));
    ASSERT_EQ(note->children.size(), 2);
    EXPECT_TRUE(note->children[0] && note->children[0]->title.isNull());
    EXPECT_EQ(note->children[1], nullptr);

    // A stored null root is a null object, not a failure.
    const auto none = LWKeyedUnarchiver::unarchiveObjectWithData(
        LWKeyedArchiver::archivedDataWithRootObject(nullptr));
    ASSERT_TRUE(none);
    EXPECT_EQ(*none, nullptr);
}

TEST_F(KeyedArchiveTest, ObjectsOfClassRefusesOthersAndNulls) {
    const Note a;
    const QByteArray withNull = LWKeyedArchiver::archivedDataWithRootObjects({&a, nullptr});
    QString error;
    EXPECT_FALSE(LWKeyedUnarchiver::unarchiveObjectsOfClass<Note>(withNull, &error));
    EXPECT_EQ(error, QStringLiteral("an element is null"));
    EXPECT_EQ(LWKeyedUnarchiver::unarchiveObjectsOfClass<Note>(withNull, nullptr, true)->size(), 2);
    struct Other : LWCoding {
        QString classNameForCoder() const override { return QStringLiteral("Note"); }
        void encodeWithCoder(LWKeyedArchiver&) const override {}
    };
    EXPECT_FALSE(LWKeyedUnarchiver::unarchiveObjectsOfClass<Other>(withNull, nullptr, true));
}

TEST_F(KeyedArchiveTest, AnyFaultInsideFailsTheWholeArchive) {
    auto root = std::make_shared<Note>();
    root->children = {std::make_shared<Note>(), std::make_shared<Note>()};
    root->children[1]->number = -1; // refused by its decoder
    QString error;
    EXPECT_FALSE(LWKeyedUnarchiver::unarchiveObjectWithData(
        LWKeyedArchiver::archivedDataWithRootObject(root.get()), &error));
    EXPECT_EQ(error, QStringLiteral("the Note decoder refused its keys"));

    // A value of the wrong type, deep down.
    QCborMap top =
        QCborValue::fromCbor(LWKeyedArchiver::archivedDataWithRootObject(root.get())).toMap();
    QCborMap bad;
    bad.insert(QStringLiteral("$class"), QStringLiteral("Note"));
    bad.insert(QStringLiteral("flag"), QStringLiteral("yes"));
    QCborMap outer;
    outer.insert(QStringLiteral("$class"), QStringLiteral("Note"));
    outer.insert(QStringLiteral("parent"), bad);
    top.insert(QStringLiteral("$top"), outer);
    EXPECT_FALSE(LWKeyedUnarchiver::unarchiveObjectWithData(top.toCborValue().toCbor(), &error));
    EXPECT_EQ(error, QStringLiteral("the value for 'flag' has the wrong type"));

    // Nesting deeper than CBOR allows is refused, not a stack overflow.
    QByteArray deep(100000, '\x81'); // arrays of one element, nested
    deep += '\x80';
    EXPECT_FALSE(LWKeyedUnarchiver::unarchiveObjectWithData(deep));
}
