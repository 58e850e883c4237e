#include "app/dump_order.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <string>

static constexpr wchar_t kGood[] =
    L"\"C:\\ski hill\\Orvek.exe\" --write-dump 12 4294967295 00007FF012345678 3221225477 "
    L"D:\\ski hill\\crash_20260203_040506.dmp";

static DumpRequest read_with(const std::wstring& part, const std::wstring& other) {
    std::wstring line = kGood;
    const size_t at = line.find(part);
    EXPECT_NE(at, std::wstring::npos);
    DumpOrder order = {};
    const DumpRequest request = dump_order_read(line.replace(at, part.size(), other), &order);
    EXPECT_TRUE(request == DumpRequest::good || order.process == 0);
    return request;
}

TEST(DumpOrder, SaysOfWhomWithWhatAndWhereto) {
    DumpOrder order = {};
    ASSERT_EQ(dump_order_read(kGood, &order), DumpRequest::good);
    EXPECT_EQ(order.process, 12u);
    EXPECT_EQ(order.thread, 4294967295u);
    EXPECT_EQ(order.pointers, 0x7FF012345678u);
    EXPECT_EQ(order.end_code, 0xC0000005u);
    EXPECT_EQ(std::wstring(order.file), L"D:\\ski hill\\crash_20260203_040506.dmp");
}

TEST(DumpOrder, IsReadBehindAProgramNameWithoutQuotesToo) {
    EXPECT_EQ(read_with(L"\"C:\\ski hill\\Orvek.exe\"", L"Orvek.exe"), DumpRequest::good);
    EXPECT_EQ(read_with(L"D:\\ski hill", L"\\\\server\\share"), DumpRequest::good);
}

TEST(DumpOrder, IsNoneOnEveryOtherCommandLine) {
    DumpOrder order = {};
    for (const wchar_t* line : {L"", L"\"", L" ", L"Orvek.exe", L"\"C:\\a b\\Orvek.exe\"", L"\"C:\\a b\\Orvek.exe",
                                L"Orvek.exe --practice-test", L"Orvek.exe --write-dumps 1",
                                L"Orvek.exe settings.txt --write-dump 1 2 3 0 C:\\crash_20260203_040506.dmp",
                                L"--write-dump 1 2 3 0 C:\\crash_20260203_040506.dmp"})
        EXPECT_EQ(dump_order_read(line, &order), DumpRequest::none) << std::string(line, line + wcslen(line));
}

TEST(DumpOrder, WithAWrongNumberIsRefused) {
    for (const wchar_t* number :
         {L"0", L"", L"-1", L"+1", L"1.", L"0x10", L"4294967296", L"99999999999999999999", L" 1"}) {
        EXPECT_EQ(read_with(L" 12 ", std::wstring(L" ") + number + L" "), DumpRequest::malformed);
        EXPECT_EQ(read_with(L" 4294967295 ", std::wstring(L" ") + number + L" "), DumpRequest::malformed);
    }
    for (const wchar_t* pointers : {L"0", L"", L"00007ff012345678", L"10000000000000000", L"G"})
        EXPECT_EQ(read_with(L" 00007FF012345678 ", std::wstring(L" ") + pointers + L" "), DumpRequest::malformed);
    for (const wchar_t* code : {L"", L"-1", L"4294967296", L"C0000005"})
        EXPECT_EQ(read_with(L" 3221225477 ", std::wstring(L" ") + code + L" "), DumpRequest::malformed);
    EXPECT_EQ(read_with(L" 3221225477 ", L" 0 "), DumpRequest::good) << "whoever sits before it ends it";
}

TEST(DumpOrder, ForAFileThatIsNoDumpOfOursIsRefused) {
    for (const wchar_t* file :
         {L"", L"crash_20260203_040506.dmp", L"D:", L"D:\\", L"D:crash_20260203_040506.dmp", L"D:\\ski hill\\",
          L"D:\\settings.txt", L"D:\\crash_20260203_040506.txt", L"D:\\crash_20260203_040506.dmp ",
          L"D:\\crash_20260203_040506.dmp:stream", L"D:\\crash_2O260203_040506.dmp", L"\\crash_20260203_040506.dmp",
          L"D:\\crash_20260203_040506.dmp\\settings.txt", L"\"D:\\crash_20260203_040506.dmp\"",
          L"D:\\\u0563rash_20260203_040506.dmp", L"D:/crash_20260203_040506.dmp"})
        EXPECT_EQ(read_with(L"D:\\ski hill\\crash_20260203_040506.dmp", file), DumpRequest::malformed)
            << std::string(file, file + wcslen(file));
}

TEST(DumpOrder, ThatEndsEarlyIsRefused) {
    const std::wstring whole = kGood;
    DumpOrder order = {};
    for (size_t length = whole.find(L"dump") + 4; length < whole.size(); ++length)
        EXPECT_EQ(dump_order_read(whole.substr(0, length), &order), DumpRequest::malformed) << length;
}
