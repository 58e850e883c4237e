// The GPU chooser as the operator meets it: from its button on the Settings tab to the settings file.
#include <string>
#include <vector>

#include "app/utf16.h"
#include "settings/editor_rows.h"
#include "tests/console/console_test.h"
#include "tests/console/remote.h"

namespace {

constexpr int32_t kSelectGpu = 807, kStatusLabel = 803, kList = 800, kFirstBox = 1000;

class SelectGpuFromTheTab : public ConsoleTest {
protected:
    void open_chooser() {
        press_on(kTabSettings, kSelectGpu);
        ASSERT_TRUE(wait_until([&] { return chooser_ready(); })) << "no chooser with a filled list";
        ASSERT_FALSE(IsWindowEnabled(console.window));
    }
    bool chooser_ready() {
        chooser = FindWindowA("SkiJumpSelectGPU", nullptr);
        list = chooser ? FindWindowExA(chooser, nullptr, "ListBox", nullptr) : nullptr;
        HWND status = chooser ? FindWindowExA(chooser, nullptr, "Static", nullptr) : nullptr;
        return status && window_text(status).find(" detected.") != std::string::npos;
    }
    void click(int32_t id) const {
        PostMessageW(GetDlgItem(chooser, id), BM_CLICK, 0, 0);
    }
    testing::AssertionResult chooser_is_gone() const {
        if (!wait_until([&] { return !IsWindow(chooser); })) return testing::AssertionFailure() << "still open";
        if (!wait_until([&] { return IsWindowEnabled(console.window) != FALSE; }))
            return testing::AssertionFailure() << "the main window stayed disabled";
        return testing::AssertionSuccess();
    }
    HWND box(const std::string& key) const {
        HWND scrolled = control(console, kList);
        for (int32_t index = 0; index < settings_info_count(); ++index)
            if (key == settings_info_at(index)->key) return GetDlgItem(scrolled, kFirstBox + index);
        return nullptr;
    }
    std::string box_text(const std::string& key) const {
        return window_text(box(key));
    }
    std::string saved(const std::string& key) const {
        return installation_setting(installation, key);
    }
    // "NVIDIA ..." of the first line "GPU #0  NVIDIA ..."
    std::string first_gpu() const {
        wchar_t text[256] = L"";
        const LRESULT length = SendMessageW(list, LB_GETTEXT, 0, reinterpret_cast<LPARAM>(text));
        const std::string line = length > 0 ? utf8_from({text, static_cast<size_t>(length)}) : "";
        const std::string prefix = "GPU #0  ";
        return line.rfind(prefix, 0) == 0 ? line.substr(prefix.size()) : "";
    }

    HWND chooser = nullptr;
    HWND list = nullptr;
};

}  // namespace

TEST_F(SelectGpuFromTheTab, OkFillsBothBoxesAndSaves) {
    start_with({"*capfile_nvenc_gpu_name=elsewhere", "capfile_nvenc_gpu_index=5"});
    open_chooser();
    const std::string name = first_gpu();
    ASSERT_FALSE(name.empty());
    click(IDOK);
    ASSERT_TRUE(chooser_is_gone());
    ASSERT_TRUE(log_shows(installation, "settings saved to *"));
    ASSERT_TRUE(becomes(
        "status label", [&] { return button_text(console, kStatusLabel); }, std::string("Saved")));
    EXPECT_TRUE(log_shows_in_order(
        installation, {"nvenc_gpu_enum: 1 NVIDIA adapter(s) via DXGI",
                       "settings: GPU selected — name=\"" + name + "\" index=0", "settings saved to *"}));
    EXPECT_EQ(box_text("capfile_nvenc_gpu_index"), "0");
    EXPECT_EQ(box_text("*capfile_nvenc_gpu_name"), name);
    EXPECT_EQ(saved("capfile_nvenc_gpu_index"), "0");
    EXPECT_EQ(saved("*capfile_nvenc_gpu_name"), name);
}

TEST_F(SelectGpuFromTheTab, CancelChangesNothing) {
    start_with({"*capfile_nvenc_gpu_name=elsewhere", "capfile_nvenc_gpu_index=5"});
    const std::string before = installation_read(installation, "settings.txt");
    open_chooser();
    click(IDCANCEL);
    ASSERT_TRUE(chooser_is_gone());
    ASSERT_TRUE(log_shows(installation, "settings: Select GPU cancelled — no change"));
    EXPECT_EQ(box_text("capfile_nvenc_gpu_index"), "5");
    EXPECT_EQ(box_text("*capfile_nvenc_gpu_name"), "elsewhere");
    EXPECT_EQ(button_text(console, kStatusLabel), "Loaded");
    EXPECT_EQ(installation_read(installation, "settings.txt"), before);
    EXPECT_EQ(log_count(installation, "settings saved to *"), 0);
}

TEST_F(SelectGpuFromTheTab, EscIsCancelAndTheChooserOpensAgain) {
    start();
    open_chooser();
    PostMessageW(list, WM_KEYDOWN, VK_ESCAPE, 1);
    ASSERT_TRUE(chooser_is_gone());
    ASSERT_TRUE(log_shows(installation, "settings: Select GPU cancelled — no change"));
    open_chooser();
    PostMessageW(list, WM_KEYDOWN, VK_RETURN, 1);
    ASSERT_TRUE(chooser_is_gone());
    EXPECT_TRUE(log_shows(installation, "settings: GPU selected — name=*"));
}

TEST_F(SelectGpuFromTheTab, TheWindowBehindGoesOnWhileTheChooserIsOpen) {
    start();
    open_chooser();
    EXPECT_TRUE(console_answers(console, 2000));
    click(IDCANCEL);
    ASSERT_TRUE(chooser_is_gone());
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(SelectGpuFromTheTab, ClosingTheProgramTakesTheChooserAlong) {
    start();
    open_chooser();
    EXPECT_EQ(console_close(&console), 0);
}
