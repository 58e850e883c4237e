// Any command line: what is taken for an order names an absolute path of a dump's name, and reads back the same.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "app/dump_order.h"

static void require(bool condition) {
    if (!condition) abort();
}

// The order as a command line again, as a crashed program writes it.
static std::wstring spelled(const DumpOrder& order) {
    char numbers[96];
    snprintf(numbers, sizeof numbers, " %u %u %llX %u ", order.process, order.thread,
             static_cast<unsigned long long>(order.pointers), order.end_code);
    const std::string text = numbers;
    return std::wstring(L"\"C:\\a hill\\Orvek.exe\" ") + kDumpOrderOption + std::wstring(text.begin(), text.end()) +
           std::wstring(order.file);
}

static void require_same(const DumpOrder& order, const DumpOrder& again) {
    require(again.process == order.process && again.thread == order.thread);
    require(again.pointers == order.pointers && again.end_code == order.end_code);
    require(again.file == order.file);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::wstring line(data, data + size);
    DumpOrder order = {7, 0, 0, 0, {}};
    if (dump_order_read(line, &order) != DumpRequest::good) {
        require(order.process == 7 && order.file.empty());
        return 0;
    }
    require(order.process != 0 && order.thread != 0 && order.pointers != 0);
    require(order.file.ends_with(L".dmp") && order.file.find(L'\\') != std::wstring_view::npos);
    require(order.file.data() >= line.data() && order.file.data() + order.file.size() == line.data() + line.size());
    DumpOrder again = {};
    require(dump_order_read(spelled(order), &again) == DumpRequest::good);
    require_same(order, again);
    return 0;
}
