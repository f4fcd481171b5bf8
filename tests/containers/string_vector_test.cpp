// String and Vector seen from a script: results of the class of `this`,
// index checks, the text and element operations at their edges, and the
// buffers handed to native calls.
#include <cstring>

#include "module/errors.h"
#include "tests/support/host.h"

namespace {

class StringTest : public HostTest {
 protected:
  TulValue str(const char* s) { return make("String", {TulValue(new TulString(s))}); }
  std::string text(const TulValue& obj) {
    TulValue v = call(obj, "toString");
    TulString* s = static_cast<TulString*>(v);
    return s ? std::string(s->c_str(), s->length()) : "<not a string>";
  }
};

TEST_F(StringTest, ConstructionCopiesOrFormats) {
  EXPECT_EQ(text(make("String")), "");
  TulString* src = new TulString("abc");
  TulValue srcValue(src);
  TulValue s = make("String", {srcValue});
  *src += "def";
  EXPECT_EQ(text(s), "abc");
  EXPECT_EQ(text(make("String", {TulValue(new TulString("%d-%s|%5.2f")), TulValue(7),
                                 TulValue(new TulString("x")), TulValue(2.5)})),
            "7-x| 2.50");
  EXPECT_EQ(constructError("String", {TulValue(5)}), "Bad type: expected string, got int");
}

TEST_F(StringTest, OperatorsKeepTheDerivedClassAndLeaveTheOperandAlone) {
  TulClass* mine = vm_->defineClass("MyString", cls("String"), {"_extra"});
  ASSERT_NE(mine, nullptr);
  TulValue s = make("MyString", {TulValue(new TulString("mid"))});
  TulValue left = call(s, "OP_ADD", {TulValue(new TulString("R"))});
  TulValue right = call(s, "OP_ADD_R", {TulValue(new TulString("L"))});
  EXPECT_STREQ(classOf(left), "MyString");
  EXPECT_EQ(text(left), "midR");
  EXPECT_EQ(text(right), "Lmid");
  EXPECT_EQ(text(call(s, "OP_ADD", {TulValue('!')})), "mid!");
  EXPECT_EQ(text(call(s, "substr", {TulValue(1)})), "id");
  EXPECT_STREQ(classOf(call(s, "substr", {TulValue(1)})), "MyString");
  EXPECT_EQ(text(s), "mid");
  EXPECT_EQ(errorOf(s, "OP_ADD", {make("RECT")}), "Bad type: expected string, got object");
}

TEST_F(StringTest, IndexingChecksBoundsAndSignExtends) {
  TulValue s = str("ab\xE9");
  EXPECT_EQ(callInt(s, "OP_VREF", {TulValue(2)}), -23);
  for (int bad : {-1, 3})
    EXPECT_EQ(errorOf(s, "OP_VREF", {TulValue(bad)}), err::kSubscriptOutOfRange) << bad;
  EXPECT_EQ(errorOf(str(""), "OP_VREF", {TulValue(0)}), err::kSubscriptOutOfRange);
  call(s, "OP_VSET", {TulValue(0), TulValue(321)});
  EXPECT_EQ(text(s), "Ab\xE9");
  EXPECT_EQ(errorOf(s, "OP_VSET", {TulValue(3), TulValue(65)}), err::kSubscriptOutOfRange);
  EXPECT_EQ(errorOf(s, "OP_VREF", {TulValue(new TulString("0"))}), "Bad type: expected int, got string");
}

TEST_F(StringTest, EditingInPlace) {
  TulValue s = str("banana");
  EXPECT_EQ(static_cast<TulObject*>(call(s, "replace", {TulValue(97), TulValue(98)})),
            static_cast<TulObject*>(s));
  EXPECT_EQ(text(s), "bbnbnb");
  EXPECT_EQ(errorOf(s, "replace", {TulValue(97), TulValue(new TulString("x"))}),
            "Bad type: expected int, got string");
  call(s, "replace", {TulValue(new TulString("nb")), TulValue(new TulString("-"))});
  EXPECT_EQ(text(s), "bb--");
  call(s, "insert", {TulValue(1), TulValue('x'), TulValue(3)});
  EXPECT_EQ(text(s), "bxxxb--");
  EXPECT_EQ(errorOf(s, "insert", {TulValue(1), TulValue(new TulString("y")), TulValue(2)}),
            err::kTooMany);
  call(s, "insert", {TulValue(-50), TulValue(new TulString("<"))});
  call(s, "insert", {TulValue(500), TulValue(new TulString(">"))});
  EXPECT_EQ(text(s), "<bxxxb-->");
  call(s, "append", {TulValue('.')});
  EXPECT_EQ(callInt(s, "find", {TulValue(new TulString("xx")), TulValue(3)}), 3);
  EXPECT_LT(callInt(s, "find", {TulValue(new TulString("zz"))}), 0);
  EXPECT_LT(callInt(s, "find", {TulValue('b'), TulValue(1000)}), 0);
  EXPECT_EQ(text(call(str("abcdef"), "substr", {TulValue(2), TulValue(2)})), "cd");
  EXPECT_EQ(text(call(str("abcdef"), "substr", {TulValue(2), TulValue(99)})), "cdef");
  EXPECT_EQ(text(call(str("abcdef"), "substr", {TulValue(-3), TulValue(2)})), "");
  EXPECT_EQ(errorOf(s, "compare", {TulValue(5)}), "Bad type: expected string, got int");
  EXPECT_EQ(callInt(str("ABC"), "icompare", {TulValue(new TulString("abc"))}), 0);
  EXPECT_NE(callInt(str("ABC"), "compare", {TulValue(new TulString("abc"))}), 0);
}

TEST_F(StringTest, BuffersForNativeCalls) {
  TulValue s = str("ab\x80");
  TulValue aValue = call(s, "a_buf");
  TulBuffer* a = static_cast<TulBuffer*>(aValue);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(std::vector<unsigned char>(a->data(), a->data() + a->size()),
            (std::vector<unsigned char>{'a', 'b', 0x80, 0}));
  TulValue w = call(s, "w_buf");
  TulBuffer* wb = static_cast<TulBuffer*>(w);
  ASSERT_EQ(wb->size(), 8u);
  // 0x80 is the euro sign in the ANSI code page.
  EXPECT_EQ(std::vector<unsigned char>(wb->data(), wb->data() + 8),
            (std::vector<unsigned char>{'a', 0, 'b', 0, 0xAC, 0x20, 0, 0}));
  TulValue c = call(str("hi"), "c_buf");
  EXPECT_STREQ(static_cast<TulCharBuffer*>(c)->data(), "hi");
  TulValue addr = call(s, "c_str");
  EXPECT_TRUE(addr.isAddress());
  EXPECT_EQ(std::memcmp(reinterpret_cast<const char*>(
                            static_cast<std::uintptr_t>(static_cast<unsigned>(static_cast<int>(addr)))),
                        "ab\x80", 4),
            0);
}

TEST_F(StringTest, BrokenMemberIsABadType) {
  TulValue s = str("x");
  setMember(s, "_str", TulValue(3));
  EXPECT_EQ(errorOf(s, "length"), "Bad type: expected string, got int");
  EXPECT_EQ(interp().lastError().actual, TulValueType::I32);
}

class VectorTest : public HostTest {
 protected:
  TulValue vec(std::vector<int> items) {
    TulValue v = make("Vector");
    for (int i : items) call(v, "push_back", {TulValue(i)});
    return v;
  }
  std::vector<int> items(const TulValue& v) {
    TulVector* raw = static_cast<TulVector*>(call(v, "vec"));
    std::vector<int> out;
    for (unsigned i = 0; raw && i < raw->size(); ++i) out.push_back(static_cast<int>((*raw)[i]));
    return out;
  }
};

TEST_F(VectorTest, ConstructorForms) {
  struct Case { std::vector<TulValue> args; unsigned size; unsigned minCapacity; };
  const Case cases[] = {
      {{}, 0, 0}, {{TulValue(10)}, 0, 10}, {{TulValue(3), TulValue(1)}, 3, 3},
      {{TulValue(3), TulValue(0)}, 0, 3},
  };
  for (const Case& c : cases) {
    TulValue v = make("Vector", c.args);
    EXPECT_EQ(callInt(v, "size"), static_cast<int>(c.size));
    EXPECT_GE(callInt(v, "capacity"), static_cast<int>(c.minCapacity));
  }
  TulValue a = vec({1, 2});
  TulValue copy = make("Vector", {a});
  call(copy, "push_back", {TulValue(3)});
  EXPECT_EQ(items(a), (std::vector<int>{1, 2}));
  EXPECT_EQ(constructError("Vector", {TulValue(new TulString("x"))}), "Bad type: expected int, got string");
}

TEST_F(VectorTest, EndsAndIndices) {
  TulValue v = vec({1, 2, 3});
  EXPECT_EQ(callInt(v, "pop_back"), 3);
  EXPECT_EQ(callInt(v, "pop_front"), 1);
  EXPECT_EQ(items(v), (std::vector<int>{2}));
  call(v, "push_front", {TulValue(0)});
  EXPECT_EQ(items(v), (std::vector<int>{0, 2}));
  for (int bad : {-1, 2}) {
    EXPECT_EQ(errorOf(v, "OP_VREF", {TulValue(bad)}), err::kSubscriptOutOfRange);
    EXPECT_EQ(errorOf(v, "OP_VSET", {TulValue(bad), TulValue(9)}), err::kSubscriptOutOfRange);
  }
  EXPECT_EQ(callInt(v, "OP_VREF", {TulValue(1)}), 2);
  TulValue empty = make("Vector");
  EXPECT_EQ(errorOf(empty, "pop_back"), err::kPopFromEmpty);
  EXPECT_EQ(errorOf(empty, "pop_front"), err::kPopFromEmpty);
}

TEST_F(VectorTest, InsertKeepsTheTailInOrder) {
  struct Case { std::vector<int> start; int pos; std::vector<int> values; std::vector<int> result; };
  const Case cases[] = {
      {{1, 2, 3, 4, 5}, 1, {8, 9}, {1, 8, 9, 2, 3, 4, 5}},
      {{1, 2, 3}, 0, {7}, {7, 1, 2, 3}},
      {{1, 2, 3}, -5, {7}, {1, 2, 3, 7}},
      {{1, 2, 3}, 13, {7, 8, 9}, {1, 2, 3, 7, 8, 9}},
      {{}, 0, {4}, {4}},
  };
  for (const Case& c : cases) {
    TulValue v = vec(c.start);
    std::vector<TulValue> args = {TulValue(c.pos)};
    for (int x : c.values) args.push_back(TulValue(x));
    TulValue out;
    TulValue self = v;
    ASSERT_TRUE(interp().call(out, cls("Vector"), "insert", &self, args.data(),
                              static_cast<int>(args.size())));
    EXPECT_EQ(items(v), c.result) << "insert at " << c.pos;
  }
  EXPECT_EQ(errorOf(vec({1}), "insert", {TulValue(0)}), err::kTooFew);
}

TEST_F(VectorTest, SliceAndEraseClampTheCount) {
  EXPECT_EQ(items(call(vec({1, 2, 3}), "slice", {TulValue(1), TulValue(100)})), (std::vector<int>{2, 3}));
  EXPECT_EQ(errorOf(make("Vector"), "slice", {TulValue(0)}), err::kSubscriptOutOfRange);
  struct Case { std::vector<TulValue> args; std::vector<int> left; };
  const Case cases[] = {
      {{TulValue(1)}, {1}}, {{TulValue(1), TulValue(2)}, {1, 4}},
      {{TulValue(0), TulValue(-1)}, {}}, {{TulValue(3), TulValue(0)}, {1, 2, 3, 4}},
  };
  for (const Case& c : cases) {
    TulValue v = vec({1, 2, 3, 4});
    TulValue out, self = v;
    ASSERT_TRUE(interp().call(out, cls("Vector"), "erase", &self, c.args.data(),
                              static_cast<int>(c.args.size())));
    EXPECT_EQ(items(v), c.left);
  }
  EXPECT_EQ(errorOf(vec({1, 2, 3, 4}), "erase", {TulValue(4)}), err::kSubscriptOutOfRange);
}

TEST_F(VectorTest, PlusAppendsVectorsElementwiseAndOtherValuesWhole) {
  TulValue v = vec({1, 2});
  EXPECT_EQ(items(call(v, "OP_ADD", {v})), (std::vector<int>{1, 2, 1, 2}));
  EXPECT_EQ(items(call(v, "OP_ADD", {TulValue(5)})), (std::vector<int>{1, 2, 5}));
  EXPECT_EQ(items(call(v, "OP_ADD_R", {TulValue(5)})), (std::vector<int>{5, 1, 2}));
  TulVector* plain = new TulVector();
  TulValue plainValue(plain);
  plain->push_back(TulValue(9));
  EXPECT_EQ(items(call(v, "OP_ADD_R", {plainValue})), (std::vector<int>{9, 1, 2}));
  EXPECT_EQ(items(v), (std::vector<int>{1, 2}));
  // A Vector object of a base class is appended whole by a derived vector.
  TulClass* mine = vm_->defineClass("MyVector", cls("Vector"));
  ASSERT_NE(mine, nullptr);
  TulValue derived = make("MyVector");
  TulValue sum = call(derived, "OP_ADD", {v});
  EXPECT_STREQ(classOf(sum), "MyVector");
  EXPECT_EQ(callInt(sum, "size"), 1);
  // vec is the object's own vector.
  static_cast<TulVector*>(call(v, "vec"))->push_back(TulValue(3));
  EXPECT_EQ(callInt(v, "size"), 3);
}

}  // namespace
