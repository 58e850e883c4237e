#include <windows.h>

#include "app/commands.h"
#include "tests/console/diagnostic_log.h"
#include "tests/soak/soak.h"
#include "tests/support/wait.h"

// A Linux program: under Wine the folder's rights and the clock are the host's business. Its end is seen by its work.
static void run_on_host(const std::string& program, const std::string& arguments) {
    std::string line = program + " " + arguments;
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    if (!CreateProcessA(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &started))
        return;
    CloseHandle(started.hThread);
    CloseHandle(started.hProcess);
}

// "Z:\\a\\b" as the host calls it; the folders of a run are below Z:.
static std::string host_path(std::string path) {
    for (char& c : path) c = c == '\\' ? '/' : c;
    return path.substr(2);
}

// A new name each time: one that was made just before the folder changed cannot be removed, but opened.
static bool can_write(const Soak& soak) {
    static int32_t asked = 0;
    const std::string path = installation_path(soak.settings, "probe_" + std::to_string(++asked) + ".dat");
    HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    CloseHandle(file);
    DeleteFileA(path.c_str());
    return true;
}

// Again where a click of the operator's that was still under way has left the tab meanwhile.
static void save_on_settings_tab(Soak* soak, int32_t command, const std::string& line) {
    const ExpectedLine done = one_more(*soak, line);
    const auto is_done = [&] { return log_count(soak->installation, done.pattern) >= done.times; };
    for (int32_t attempt = 0; attempt < 5 && !is_done() && console_lives(*soak); ++attempt) {
        operator_tidies(soak);
        if (!select_tab(soak->console, kTabSettings)) soak_fail(soak, "the Settings tab does not come");
        send_command(soak->console, command);
        wait_until(is_done, 6000);
    }
    if (!is_done()) soak_fail(soak, "no line '" + line + "'");
}

// ---------------------------------------------------------------------------------------------------- settings.txt

static std::string foreign_settings(uint32_t flavour, const std::string& old) {
    Dice dice = {flavour};
    std::string text;
    switch (flavour % 4) {
        case 0:  // another rig's
            return "mark_motion_Y=77\r\nerase_shadows=1\r\noverlay_frame_offsets[1]=5\r\n";
        case 1:  // rubbish
            for (int32_t i = 0; i < 20000; ++i) text += static_cast<char>(throw_dice(&dice, 256));
            return text;
        case 2:  // cut off in the middle of a line
            return old.substr(0, old.size() / 2 + throw_dice(&dice, 40));
        default:  // numbers nobody would write
            for (const char* key : {"overlay_frame_offsets[0]", "motion_end_x[1]", "feed_sync_offset[2]"})
                text += std::string(key) + "=99999999999999999999\r\n";
            for (int32_t i = 0; i < 200; ++i) text += std::string(700, '=') + "\r\n";
            return text;
    }
}

// As another program saves: a file beside it, moved over it.
static void replace_settings(const Soak& soak, const std::string& text) {
    installation_write(soak.settings, "foreign.txt", text);
    wait_until([&] {
        return MoveFileExA(installation_path(soak.settings, "foreign.txt").c_str(), settings_path(soak).c_str(),
                           MOVEFILE_REPLACE_EXISTING) != 0;
    });
}

static void replace_settings_meanwhile(Soak* soak, const PlannedFault& fault) {
    const std::string old = installation_read(soak->settings, "settings.txt");
    const auto line = one_more(*soak, "settings loaded from *");
    operator_works(soak, fault.lasts_ms / 2);
    replace_settings(*soak, foreign_settings(fault.flavour, old));
    save_on_settings_tab(soak, kCmdLoadSettings, "settings loaded from *");
    operator_works(soak, fault.lasts_ms);
    fault_done(soak, fault.fault, {line});
    replace_settings(*soak, old);
    save_on_settings_tab(soak, kCmdLoadSettings, "settings loaded from *");
}

// ------------------------------------------------------------------------------------------------------- the folder

// What must happen while nothing can be saved, and that it is saved afterwards. The file is whole all the while.
static void save_in_vain(Soak* soak, const PlannedFault& fault, const std::vector<ExpectedLine>& lines) {
    const std::string before = installation_read(soak->settings, "settings.txt");
    save_on_settings_tab(soak, kCmdSaveSettings, "ERR failed to save settings to *");
    operator_works(soak, fault.lasts_ms);
    if (installation_read(soak->settings, "settings.txt") != before)
        soak_fail(soak, "settings.txt changed although the folder takes nothing");
    fault_done(soak, fault.fault, lines);
}

static void make_folder_read_only(Soak* soak, const PlannedFault& fault) {
    const auto line = one_more(*soak, "ERR settings: cannot open '*' for writing");
    const std::string folder = host_path(soak->settings.folder);
    const std::string blocker = installation_path(soak->settings, "settings.txt.tmp");
    run_on_host("/usr/bin/chattr", "+i \"" + folder + "\"");
    // Where the host cannot do it, a folder in the temporary file's place refuses in the same words.
    if (!wait_until([&] { return !can_write(*soak); })) CreateDirectoryA(blocker.c_str(), nullptr);
    save_in_vain(soak, fault, {line});
    run_on_host("/usr/bin/chattr", "-i \"" + folder + "\"");
    if (!wait_until([&] { return can_write(*soak); })) soak_fail(soak, "the folder stays read-only");
    RemoveDirectoryA(blocker.c_str());
    save_on_settings_tab(soak, kCmdSaveSettings, "settings saved to *");
}

// Leaves a few kilobytes: a file can be begun, not finished.
static void fill_folder(const Soak& soak, HANDLE ballast) {
    const std::string piece(4096, 'x');
    ULARGE_INTEGER room = {};
    DWORD written = 0;
    while (GetDiskFreeSpaceExA(soak.settings.folder.c_str(), &room, nullptr, nullptr) && room.QuadPart > 2 * 4096)
        for (uint64_t i = 0; i < room.QuadPart / 4096 - 1; ++i)
            if (!WriteFile(ballast, piece.data(), static_cast<DWORD>(piece.size()), &written, nullptr)) return;
}

// The workers on the rig write and remove files of their own meanwhile, so it is filled up again and again.
static void fill_settings_folder(Soak* soak, const PlannedFault& fault) {
    const auto line = one_more(*soak, "ERR settings: * failed for '*settings.txt.tmp'*");
    const auto vain = one_more(*soak, "ERR failed to save settings to *");
    const std::string path = installation_path(soak->settings, "ballast.dat");
    HANDLE ballast = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    operator_tidies(soak);
    select_tab(soak->console, kTabSettings);
    for (int32_t attempt = 0; attempt < 20 && log_count(soak->installation, vain.pattern) < vain.times; ++attempt) {
        fill_folder(*soak, ballast);
        send_command(soak->console, kCmdSaveSettings);
        wait_until([&] { return log_count(soak->installation, vain.pattern) >= vain.times; }, 500);
    }
    operator_works(soak, fault.lasts_ms);
    if (installation_read(soak->settings, "settings.txt").empty())
        soak_fail(soak, "the full folder cost settings.txt");
    fault_done(soak, fault.fault, {vain, line});
    CloseHandle(ballast);
    DeleteFileA(path.c_str());
    save_on_settings_tab(soak, kCmdSaveSettings, "settings saved to *");
}

// --------------------------------------------------------------------------------------------------------- the clock

// "HH:MM:SS.mmm" of the newest line, in milliseconds.
static int64_t time_of_last_line(const Soak& soak) {
    const std::vector<std::string> lines = log_raw_lines(soak.installation);
    if (lines.empty() || !log_line_is_well_formed(lines.back())) return -1;
    const std::string& line = lines.back();
    return ((std::stoll(line.substr(0, 2)) * 60 + std::stoll(line.substr(3, 2))) * 60 +
            std::stoll(line.substr(6, 2))) *
               1000 +
           std::stoll(line.substr(9, 3));
}

static void write_clock(const Soak& soak, const char* offset) {
    FILE* file = fopen(soak.clock_file.c_str(), "wb");
    if (file == nullptr) return;
    fputs(offset, file);
    fclose(file);
}

// Ten minutes back for a while: timers, restarts and the log go on. The log names it by its own times.
static void set_clock_back(Soak* soak, const PlannedFault& fault) {
    const int64_t before = time_of_last_line(*soak);
    write_clock(*soak, "-600\n");
    operator_works(soak, fault.lasts_ms);
    save_on_settings_tab(soak, kCmdSaveSettings, "settings saved to *");
    const int64_t during = time_of_last_line(*soak);
    if (during >= before && before >= 600000) soak_fail(soak, "the clock did not go back");
    fault_done(soak, fault.fault, {});
    write_clock(*soak, "+0\n");
    operator_works(soak, 500);
}

// --------------------------------------------------------------------------------------------------- the motion logs

static std::string motion_line(int32_t feed, int64_t frame, Dice* dice) {
    const int64_t in_jump = frame % 400;
    char line[256];
    snprintf(line, sizeof line,
             "feed %d seq=%lld ts=%lld type=%d blobs=1 blob0_sz=%u blob0_x=%lld blob0_y=%u blob0_first_y=200 "
             "blob0_last_y=260 ycum=0,0,0,%u ucum=0,0,0,4 vcum=0,0,0,4\n",
             feed, static_cast<long long>(frame), static_cast<long long>(frame * 16667), in_jump < 120 ? 1 : 0,
             200 + throw_dice(dice, 300), static_cast<long long>(in_jump * 16 % 1920), 220 + throw_dice(dice, 40),
             throw_dice(dice, 30));
    return line;
}

static std::string broken_piece(Dice* dice) {
    std::string text;
    switch (throw_dice(dice, 5)) {
        case 0:
            return std::string(throw_dice(dice, 5000), '\0');
        case 1:
            return "feed 1 seq=";
        case 2:
            return "blob0_sz=99999999999999999999 feed -7 seq=-1 blob0_x=-4000000000 blob0_y=2147483648\n";
        case 3:
            return std::string(3000, 'z') + "\r\n\r\n";
        default:
            for (uint32_t i = throw_dice(dice, 400); i > 0; --i) text += static_cast<char>(throw_dice(dice, 256));
            return text;
    }
}

void write_motion_logs(const Soak& soak, bool huge) {
    Dice dice = {soak.seed + static_cast<uint64_t>(soak.life)};
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        const std::string name = "motion_debug_" + std::to_string(feed) + ".log";
        FILE* file = fopen(installation_path(soak.settings, name).c_str(), "wb");
        if (file == nullptr) continue;
        const int64_t lines = huge ? 100000 : 4000;
        for (int64_t frame = 0; frame < lines; ++frame) {
            std::string line = motion_line(feed, frame, &dice);
            if (!huge && throw_dice(&dice, 3) == 0)
                line.resize(throw_dice(&dice, static_cast<uint32_t>(line.size())));
            if (!huge && throw_dice(&dice, 4) == 0) line += broken_piece(&dice);
            fwrite(line.data(), 1, line.size(), file);
        }
        fclose(file);
    }
}

void throw_file_fault(Soak* soak, const PlannedFault& fault) {
    switch (fault.fault) {
        case Fault::settings_replaced:
            replace_settings_meanwhile(soak, fault);
            break;
        case Fault::folder_read_only:
            make_folder_read_only(soak, fault);
            break;
        case Fault::folder_full:
            fill_settings_folder(soak, fault);
            break;
        case Fault::clock_back:
            set_clock_back(soak, fault);
            break;
        default:
            soak_fail(soak, "nobody throws '" + std::string(fault_name(fault.fault)) + "'");
            break;
    }
}
