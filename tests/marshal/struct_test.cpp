// Struct seen from a script: the byte layout, sign handling of narrow
// members, unions refreshed by update, indirect members seen through their
// addresses, and addresses refreshed after their target moved.
#include <cstdint>
#include <cstring>

#include "module/errors.h"
#include "tests/support/host.h"

namespace {

class StructTest : public HostTest {
 protected:
  TulValue name(const char* n) { return TulValue(new TulString(n)); }
  int add(const TulValue& s, const char* method, const char* member, const TulValue& v) {
    return callInt(s, method, {name(member), v});
  }
  std::vector<unsigned char> bytes(const TulValue& s) {
    TulBuffer* b = static_cast<TulBuffer*>(call(s, "getData"));
    return b ? std::vector<unsigned char>(b->data(), b->data() + b->size())
             : std::vector<unsigned char>();
  }
  std::uint32_t word(const std::vector<unsigned char>& b, unsigned at) {
    std::uint32_t v;
    std::memcpy(&v, b.data() + at, 4);
    return v;
  }
  TulValue value(const TulValue& s, const char* member) { return call(s, "getValue", {name(member)}); }
  unsigned char* dataOf(const TulValue& s) {
    return static_cast<TulBuffer*>(call(s, "getData"))->data();
  }
};

TEST_F(StructTest, WorkedExampleByteForByte) {
  TulValue s = make("Struct");
  TulValue text = name("abc");
  EXPECT_EQ(add(s, "addInt", "cbSize", TulValue(24)), 0);
  EXPECT_EQ(add(s, "addInt16", "wFlags", TulValue(-2)), 4);
  EXPECT_EQ(add(s, "addInt8", "bKind", TulValue(7)), 6);
  EXPECT_EQ(add(s, "addInt8", "bFill", TulValue(0)), 7);
  EXPECT_EQ(add(s, "addDouble", "dScale", TulValue(1.5)), 8);
  EXPECT_EQ(add(s, "addString", "pszName", text), 16);
  EXPECT_EQ(add(s, "addIntPtr", "pnOut", TulValue(0)), 20);
  EXPECT_EQ(errorOf(s, "addInt", {name("cbSize"), TulValue(1)}), err::kStructMemberDefined);
  EXPECT_EQ(interp().lastError().detail, "cbSize");
  EXPECT_EQ(callInt(s, "addInt", {name("wLow"), TulValue(5), TulValue(4)}), 4);
  EXPECT_EQ(callInt(s, "addInt", {name("tail"), TulValue(9), TulValue(100)}), 24);

  std::vector<unsigned char> b = bytes(s);
  ASSERT_EQ(b.size(), 28u);
  const std::vector<unsigned char> head = {0x18, 0, 0, 0, 5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xF8, 0x3F};
  EXPECT_EQ(std::vector<unsigned char>(b.begin(), b.begin() + 16), head);
  EXPECT_EQ(word(b, 16), reinterpret_cast<std::uintptr_t>(static_cast<TulString*>(text)->c_str()));
  EXPECT_EQ(word(b, 24), 9u);
  // The overlapped members keep their values until update.
  EXPECT_EQ(static_cast<int>(value(s, "wFlags")), -2);
  call(s, "update");
  EXPECT_EQ(static_cast<int>(value(s, "wFlags")), 5);
  EXPECT_EQ(static_cast<int>(value(s, "bKind")), 0);
  EXPECT_EQ(static_cast<int>(value(s, "wLow")), 5);
  EXPECT_EQ(static_cast<int>(value(s, "cbSize")), 24);
  EXPECT_EQ(static_cast<double>(value(s, "dScale")), 1.5);
}

TEST_F(StructTest, NarrowMembersAreSigned) {
  struct Case { const char* method; int in; int held; std::vector<unsigned char> bytes; };
  const Case cases[] = {
      {"addInt8", 200, -56, {0xC8}}, {"addInt8", -1, -1, {0xFF}},
      {"addInt16", 40000, -25536, {0x40, 0x9C}}, {"addInt", -2, -2, {0xFE, 0xFF, 0xFF, 0xFF}},
  };
  for (const Case& c : cases) {
    TulValue s = make("Struct");
    add(s, c.method, "m", TulValue(c.in));
    EXPECT_EQ(bytes(s), c.bytes) << c.method << " " << c.in;
    EXPECT_EQ(static_cast<int>(value(s, "m")), c.held);
  }
  struct Write { const char* method; int before; std::vector<unsigned char> written; int after; };
  const Write writes[] = {
      {"addInt16", 5, {0x02, 0x01}, 258}, {"addInt16", 5, {0xFF, 0xFF}, -1},
      {"addInt16", -2, {0x01, 0x00}, 1}, {"addInt8", 5, {0x80}, -128},
  };
  for (const Write& w : writes) {
    TulValue s = make("Struct");
    add(s, w.method, "m", TulValue(w.before));
    std::memcpy(dataOf(s), w.written.data(), w.written.size());
    EXPECT_EQ(static_cast<int>(value(s, "m")), w.before);
    call(s, "update");
    EXPECT_EQ(static_cast<int>(value(s, "m")), w.after);
  }
}

TEST_F(StructTest, OffsetsPlaceMembersAtTheEndOrOverExistingBytes) {
  TulValue s = make("Struct");
  add(s, "addInt8", "a", TulValue(1));
  EXPECT_EQ(add(s, "addInt", "b", TulValue(2)), 1);
  EXPECT_EQ(bytes(s).size(), 5u);
  EXPECT_EQ(callInt(s, "addInt8", {name("c"), TulValue(3), TulValue(-1)}), 5);
  EXPECT_EQ(callInt(s, "addInt8", {name("d"), TulValue(4), TulValue(6)}), 6);
  EXPECT_EQ(callInt(s, "addInt", {name("e"), TulValue(-1), TulValue(2)}), 2);
  EXPECT_EQ(bytes(s), (std::vector<unsigned char>{1, 2, 0xFF, 0xFF, 0xFF, 0xFF, 4}));
  EXPECT_EQ(errorOf(s, "addInt", {name("f"), TulValue(1), name("x")}), "Bad type: expected int, got string");
}

TEST_F(StructTest, ValueChecksLeaveTheStructUnchanged) {
  TulValue s = make("Struct");
  add(s, "addInt", "a", TulValue(1));
  EXPECT_EQ(errorOf(s, "addString", {name("x"), TulValue(5)}), "Bad type: expected string, got int");
  EXPECT_EQ(errorOf(s, "addCBuffer", {name("x"), TulValue(new TulBuffer(2))}),
            "Bad type: expected char buffer, got buffer");
  EXPECT_EQ(errorOf(s, "addBuffer", {name("x"), TulValue(new TulCharBuffer(2))}),
            "Bad type: expected buffer, got char buffer");
  EXPECT_EQ(errorOf(s, "addStruct", {name("x"), make("POINT")}), err::kNotAStruct);
  EXPECT_EQ(interp().lastError().detail, "POINT");
  EXPECT_EQ(errorOf(s, "getValue", {name("x")}), err::kStructMemberNotFound);
  EXPECT_EQ(bytes(s).size(), 4u);
  EXPECT_EQ(constructError("Struct", {TulValue(1)}), err::kTooMany);
  // A derived Struct accepts its own kind only.
  ASSERT_NE(vm_->defineClass("MyStruct", cls("Struct")), nullptr);
  TulValue mine = make("MyStruct");
  EXPECT_EQ(errorOf(mine, "addStruct", {name("n"), make("Struct")}), err::kNotAStruct);
  EXPECT_EQ(interp().lastError().detail, "Struct");
  EXPECT_EQ(add(mine, "addStruct", "n", make("MyStruct")), 0);
}

TEST_F(StructTest, IndirectMembersAreSeenThroughTheirAddresses) {
  TulValue s = make("Struct");
  add(s, "addIntPtr", "n", TulValue(0));
  add(s, "addDoublePtr", "d", TulValue(0.0));
  TulValue buf(new TulBuffer(4));
  static_cast<TulBuffer*>(buf)->setSize(4);
  add(s, "addBuffer", "b", buf);
  std::vector<unsigned char> b = bytes(s);
  // A system call writes through the three addresses.
  const std::int32_t seven = 7;
  std::memcpy(reinterpret_cast<void*>(static_cast<std::uintptr_t>(word(b, 0))), &seven, 4);
  const double half = 0.5;
  std::memcpy(reinterpret_cast<void*>(static_cast<std::uintptr_t>(word(b, 4))), &half, 8);
  std::memset(reinterpret_cast<void*>(static_cast<std::uintptr_t>(word(b, 8))), 0xAB, 4);
  EXPECT_EQ(static_cast<int>(value(s, "n")), 7);
  call(s, "update");
  EXPECT_EQ(static_cast<int>(value(s, "n")), 7);
  EXPECT_EQ(static_cast<double>(value(s, "d")), 0.5);
  EXPECT_EQ(static_cast<TulBuffer*>(buf)->data()[3], 0xAB);
  EXPECT_EQ(static_cast<TulBuffer*>(value(s, "b")), static_cast<TulBuffer*>(buf));
}

TEST_F(StructTest, AddressesFollowTargetsThatMovedUnlessOverlaidLater) {
  TulValue s = make("Struct");
  TulValue text = name("a");
  TulValue nested = make("Struct");
  add(s, "addString", "str", text);
  add(s, "addStruct", "inner", nested);
  add(s, "addString", "shadowed", name("b"));
  callInt(s, "addInt", {name("overlay"), TulValue(0x1234), TulValue(8)});
  // Both targets move: the string grows, the nested struct gains members.
  *static_cast<TulString*>(text) += std::string(4000, 'x').c_str();
  for (int i = 0; i < 64; ++i) add(nested, "addDouble", std::to_string(i).c_str(), TulValue(1.0 * i));
  std::vector<unsigned char> b = bytes(s);
  EXPECT_EQ(word(b, 0), reinterpret_cast<std::uintptr_t>(static_cast<TulString*>(text)->c_str()));
  EXPECT_EQ(word(b, 4), reinterpret_cast<std::uintptr_t>(dataOf(nested)));
  EXPECT_EQ(word(b, 8), 0x1234u);
}

}  // namespace
