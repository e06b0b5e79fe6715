// Byte buffers: allocation policy, searches for data arriving in pieces.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include <toviktwo/foundation/hkbuffers.h>

namespace {
void add(HKInputStreamBinary& b, const std::string& s) { b.AddChars(s.data(), s.size()); }
std::string content(const HKInputStreamBinary& b) {
  return std::string(reinterpret_cast<const char*>(b.GetBuffer()), b.length());
}
}  // namespace

TEST(HKInputStreamBinaryTest, BlockSizeZeroMeansOne) {
  HKInputStreamBinary b(0);
  EXPECT_EQ(b.BlockSize(), 1u);
  EXPECT_EQ(b.Free(), 1u);
  EXPECT_EQ(b.length(), 0u);
  EXPECT_STREQ(reinterpret_cast<const char*>(b.GetBuffer()), "");
}

TEST(HKInputStreamBinaryTest, GrowthLeavesAtLeastOneBlock) {
  HKInputStreamBinary b(100);
  EXPECT_EQ(b.Free(), 100u);
  const std::string data(150, 'x');
  EXPECT_EQ(b.AddChars(data.data(), data.size()), 150);
  // grows by ((150 - 100) / 100 + 2) * 100 = 200
  EXPECT_EQ(b.Free(), 150u);
  EXPECT_EQ(b.length(), 150u);
  EXPECT_EQ(content(b), data);
  EXPECT_EQ(b.GetBuffer()[150], 0);
}

TEST(HKInputStreamBinaryTest, AddWithinFreeDoesNotGrow) {
  HKInputStreamBinary b(16);
  add(b, "abc");
  EXPECT_EQ(b.Free(), 13u);
  add(b, "defghijklmnop");  // exactly the free space
  EXPECT_EQ(b.Free(), 0u);
  EXPECT_EQ(content(b), "abcdefghijklmnop");
  b += 'q';
  // ((1 - 0) / 16 + 2) * 16 = 32 more, one used
  EXPECT_EQ(b.Free(), 31u);
  EXPECT_STREQ(reinterpret_cast<const char*>(b.GetBuffer()), "abcdefghijklmnopq");
}

TEST(HKInputStreamBinaryTest, AddingZeroBytesChangesNothing) {
  HKInputStreamBinary b(8);
  add(b, "xy");
  const unsigned char* before = b.GetBuffer();
  const auto freeBefore = b.Free();
  EXPECT_EQ(b.AddBytes(nullptr, 0), 0);
  EXPECT_EQ(b.AddChars("zzz", 0), 0);
  EXPECT_EQ(b.GetBuffer(), before);
  EXPECT_EQ(b.Free(), freeBefore);
  EXPECT_EQ(content(b), "xy");
}

TEST(HKInputStreamBinaryTest, RemoveMoreThanLength) {
  HKInputStreamBinary b(8);
  add(b, "hello");
  EXPECT_EQ(b.RemoveNBytes(100), 5u);
  EXPECT_EQ(b.length(), 0u);
  EXPECT_STREQ(reinterpret_cast<const char*>(b.GetBuffer()), "");
  EXPECT_EQ(b.RemoveNBytes(0), 0u);
}

TEST(HKInputStreamBinaryTest, ExactThresholdFortyAndFortyOne) {
  // A buffer of block size 10 with 40 free after a removal keeps its array;
  // with 41 free it gets a new one with 20 free.
  HKInputStreamBinary keep(10);
  add(keep, std::string(40, 'k'));  // grows by 50 from 10 free: free 20
  ASSERT_EQ(keep.Free(), 20u);
  const unsigned char* before = keep.GetBuffer();
  EXPECT_EQ(keep.RemoveNBytes(20), 20u);
  EXPECT_EQ(keep.Free(), 40u);
  EXPECT_EQ(keep.GetBuffer(), before);
  EXPECT_EQ(content(keep), std::string(20, 'k'));

  HKInputStreamBinary move(10);
  add(move, std::string(40, 'm'));
  ASSERT_EQ(move.Free(), 20u);
  EXPECT_EQ(move.RemoveNBytes(21), 21u);
  EXPECT_EQ(move.Free(), 20u);
  EXPECT_EQ(content(move), std::string(19, 'm'));
  EXPECT_EQ(move.GetBuffer()[19], 0);
}

TEST(HKInputStreamBinaryTest, RemoveFromFrontKeepsRest) {
  HKInputStreamBinary b(4);
  add(b, "headerbody");
  EXPECT_EQ(b.RemoveNBytes(6), 6u);
  EXPECT_EQ(content(b), "body");
  EXPECT_STREQ(reinterpret_cast<const char*>(b.GetBuffer()), "body");
}

TEST(HKInputStreamBinaryTest, RemoveFromBackNeverReallocates) {
  HKInputStreamBinary b(4);
  add(b, std::string(100, 'z'));
  const unsigned char* before = b.GetBuffer();
  const auto freeBefore = b.Free();
  EXPECT_EQ(b.RemoveNBytesFromBack(90), 90u);
  EXPECT_EQ(b.GetBuffer(), before);
  EXPECT_EQ(b.Free(), freeBefore + 90);
  EXPECT_EQ(content(b), std::string(10, 'z'));
  EXPECT_EQ(b.GetBuffer()[10], 0);
  EXPECT_EQ(b.RemoveNBytesFromBack(50), 10u);
  EXPECT_EQ(b.length(), 0u);
}

TEST(HKInputStreamBinaryTest, CompareLastByte) {
  HKInputStreamBinary b(4);
  EXPECT_FALSE(b.CompareLastByte(0));
  add(b, "ab\n");
  EXPECT_TRUE(b.CompareLastByte('\n'));
  EXPECT_FALSE(b.CompareLastByte('b'));
}

TEST(HKInputStreamBinaryTest, ClearAndAssign) {
  HKInputStreamBinary a(3);
  add(a, "something");
  HKInputStreamBinary b(50);
  add(b, "other");
  b = a;
  EXPECT_EQ(content(b), "something");
  EXPECT_EQ(b.BlockSize(), 50u);  // the block size stays its own
  b = b;
  EXPECT_EQ(content(b), "something");
  a.clear();
  EXPECT_EQ(a.length(), 0u);
  EXPECT_EQ(content(b), "something");
  HKInputStreamBinary c(b);
  EXPECT_EQ(content(c), "something");
}

TEST(HKInputStreamBinaryTest, AppendPartOfItselfWhileGrowing) {
  HKInputStreamBinary b(2);
  add(b, "abcde");  // grows by 6: free 3
  ASSERT_EQ(b.Free(), 3u);
  b.AddBytes(b.GetBuffer(), b.length());  // 5 > 3: the array moves while appending
  EXPECT_EQ(b.Free(), 4u);                // grows by ((5 - 3) / 2 + 2) * 2 = 6
  EXPECT_EQ(content(b), "abcdeabcde");
}

TEST(HKInputStreamBinaryTest, BinaryDataWithZeros) {
  HKInputStreamBinary b(8);
  const unsigned char bytes[] = {0, 1, 0, 255, 0};
  b.AddBytes(bytes, sizeof bytes);
  ASSERT_EQ(b.length(), 5u);
  EXPECT_EQ(std::memcmp(b.GetBuffer(), bytes, 5), 0);
}

TEST(HKInputStreamBinaryTest, AddByReadReadsAllFreeSpace) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  const std::string data(300, 'p');
  ASSERT_EQ(write(fds[1], data.data(), data.size()), 300);
  HKInputStreamBinary b(100);
  add(b, "x");
  // Asking for 10 bytes of room reads as much as is free (99 bytes).
  EXPECT_EQ(b.AddByRead(fds[0], 10), 99);
  EXPECT_EQ(b.length(), 100u);
  EXPECT_EQ(b.Free(), 0u);
  // Now room for 65535 is made and the rest (201) arrives.
  EXPECT_EQ(b.AddByRead(fds[0], 65535), 201);
  EXPECT_EQ(b.length(), 301u);
  EXPECT_EQ(content(b), "x" + data);
  EXPECT_EQ(b.GetBuffer()[301], 0);
  close(fds[1]);
  EXPECT_EQ(b.AddByRead(fds[0], 1), 0);  // end of file
  EXPECT_EQ(b.length(), 301u);
  close(fds[0]);
}

TEST(HKInputStreamBinaryTest, FailedReadTakesOneByteOff) {
  HKInputStreamBinary b(16);
  add(b, "abc");
  const auto free = b.Free();
  EXPECT_EQ(b.AddByRead(-1, 1), -1);
  EXPECT_EQ(content(b), "ab");
  EXPECT_EQ(b.Free(), free + 1);
  EXPECT_STREQ(reinterpret_cast<const char*>(b.GetBuffer()), "ab");
  // An empty buffer has nothing to take off.
  HKInputStreamBinary e(16);
  EXPECT_EQ(e.AddByRead(-1, 1), -1);
  EXPECT_EQ(e.length(), 0u);
  EXPECT_EQ(e.Free(), 16u);
}

TEST(FindPattern, EndOfDataTestIsStrict) {
  HKInputStreamBinary b(8);
  add(b, "ab");
  EXPECT_EQ(b.FindPattern("b", 1, 1), -1);
  EXPECT_EQ(b.FindPattern("b", 1, 0), 1);
}

TEST(FindPattern, PartialMatchAtTheEnd) {
  HKInputStreamBinary b(8);
  add(b, "abxy");
  EXPECT_EQ(b.FindPattern("xyz", 3, 0), 2);
}

TEST(FindPattern, EmptyPatternOrNegativeStart) {
  HKInputStreamBinary b(8);
  add(b, "abcabc");
  EXPECT_EQ(b.FindPattern("", 0, 0), -1);
  EXPECT_EQ(b.FindPattern("a", 1, -1), -1);
  EXPECT_EQ(b.FindPattern("abc", 3, -5), -1);
}

TEST(FindPattern, WholeMatchesAndRestart) {
  HKInputStreamBinary b(8);
  add(b, "aaab--boundary\r\n");
  EXPECT_EQ(b.FindPattern("aab", 3, 0), 1);  // restarts one behind the failed start
  EXPECT_EQ(b.FindPattern("--boundary", 10, 0), 4);
  EXPECT_EQ(b.FindPattern("--boundary", 10, 5), -1);
  EXPECT_EQ(b.FindPattern("zzz", 3, 0), -1);
  EXPECT_EQ(b.FindPattern("abc", 3, 100), -1);
}

TEST(HKInputStreamTest, RemoveNBytesRules) {
  HKInputStream s(42);
  s.AddString("abcdef", 6);
  s.RemoveNBytes(0);
  EXPECT_STREQ(s.GetStrBuffer(), "abcdef");
  s.RemoveNBytes(2);
  EXPECT_STREQ(s.GetStrBuffer(), "cdef");
  s.RemoveNBytes(100);
  EXPECT_EQ(s.BytesFilled(), 0u);
  s.AddString("xyz", 3);
  s.RemoveNBytes(-1);
  EXPECT_EQ(s.BytesFilled(), 0u);
  EXPECT_STREQ(s.GetStrBuffer(), "");
}

TEST(HKInputStreamTest, CountStrNonOverlapping) {
  HKInputStream s(0);
  s.AddString("aaaa", 4);
  EXPECT_EQ(s.CountStr("aa"), 2u);
  EXPECT_EQ(s.CountStr("a"), 4u);
  EXPECT_EQ(s.CountStr("b"), 0u);
  EXPECT_EQ(s.CountStr(""), 0u);
}

TEST(HKInputStreamTest, AddStringTooLongRaisesLengthError) {
  HKInputStream s(0);
  try {
    s.AddString("x", -1);
    FAIL() << "no exception";
  } catch (const std::length_error& e) {
    EXPECT_STREQ(e.what(), "basic_string::append");
  }
  EXPECT_EQ(s.BytesFilled(), 0u);
}

TEST(HKStringBufTest, WrittenIsReadableAtOnce) {
  HKStringBuf b;
  EXPECT_EQ(b.getSizeReadable(), 0u);
  b.stringput("hello");
  EXPECT_EQ(b.getSizeReadable(), 5u);
  EXPECT_EQ(b.getSizeWritten(), 5u);
  EXPECT_EQ(std::string(b.getStartReadout(), 5), "hello");
  EXPECT_EQ(std::string(b.getStart(1), 4), "ello");
}

TEST(HKStringBufTest, ReadingAdvancesTheReadPosition) {
  HKStringBuf b;
  b.stringput("abcdef");
  char two[2];
  EXPECT_EQ(b.sgetn(two, 2), 2);
  EXPECT_EQ(b.getSizeReadable(), 4u);
  EXPECT_EQ(*b.getStartReadout(), 'c');
  EXPECT_EQ(b.getSizeWritten(), 6u);
  b.stringput("gh");
  EXPECT_EQ(b.getSizeReadable(), 6u);
}

TEST(HKStringBufTest, LocateStringBreakingByteNotRetried) {
  HKStringBuf b;
  b.stringput("aaab");
  EXPECT_EQ(b.locateString("aab", 0, 100), nullptr);
}

TEST(HKStringBufTest, LocateStringPartialAtTheEnd) {
  HKStringBuf b;
  b.stringput("xxa");
  char* p = b.locateString("ab", 0, 100);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p, b.getStartReadout() + 2);
}

TEST(HKStringBufTest, LocateStringWholeOffsetAndLimit) {
  HKStringBuf b;
  b.stringput("GET / HTTP/1.1\r\n\r\nbody");
  char* p = b.locateString("\r\n\r\n", 0, 1000);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p - b.getStartReadout(), 14);
  EXPECT_EQ(b.locateString("\r\n\r\n", 0, 5), nullptr);  // not within the limit
  EXPECT_EQ(b.locateString("GET", 1, 1000), nullptr);
  EXPECT_EQ(b.locateString("body", 18, 1000), b.getStartReadout() + 18);
  EXPECT_EQ(b.locateString("", 0, 100), nullptr);
  EXPECT_EQ(b.locateString("x", 0, 0), nullptr);
  EXPECT_EQ(b.locateString("y", 22, 100), nullptr);  // offset not below the size
  HKStringBuf empty;
  EXPECT_EQ(empty.locateString("a", 0, 10), nullptr);
  HKStringBuf shortb;
  shortb.stringput("ab");
  EXPECT_EQ(shortb.locateString("abc", 0, 10), nullptr);  // readable size too small
}

TEST(HKStringBufTest, StringCopy) {
  HKStringBuf b;
  std::string out = "pre:";
  b.stringCopy(out, 0, 5);
  EXPECT_EQ(out, "pre:");
  b.stringput("0123456789");
  b.stringCopy(out, 2, 3);
  EXPECT_EQ(out, "pre:234");
  b.stringCopy(out, 8, 100);
  EXPECT_EQ(out, "pre:23489");
  b.stringCopy(out, 10, 1);
  EXPECT_EQ(out, "pre:23489");
}

TEST(HKStringBufTest, ClearGivesUpStorage) {
  HKStringBuf b;
  b.stringput(std::string(100000, 'x'));
  b.clear();
  EXPECT_EQ(b.getSizeReadable(), 0u);
  EXPECT_EQ(b.getSizeWritten(), 0u);
  EXPECT_EQ(b.str(), "");
  b.stringput("again");
  EXPECT_EQ(b.getSizeReadable(), 5u);
}

TEST(HKStringBufTest, ConsumeAdvancesTheReadPosition) {
  HKStringBuf b;
  b.consume(3);  // nothing there: nothing happens
  EXPECT_EQ(b.getSizeReadable(), 0u);
  b.stringput("head\r\n\r\nbody");
  b.consume(8);
  EXPECT_EQ(b.getSizeReadable(), 4u);
  EXPECT_EQ(std::string(b.getStartReadout(), 4), "body");
  b.stringput("+more");
  EXPECT_EQ(b.getSizeReadable(), 9u);
  char c = 0;
  EXPECT_EQ(b.sgetn(&c, 1), 1);
  EXPECT_EQ(c, 'b');
  b.consume(100);
  EXPECT_EQ(b.getSizeReadable(), 0u);
  EXPECT_EQ(b.getSizeWritten(), 17u);
}
