#include <algorithm>
#include <cstdio>

#include "tests/soak/soak.h"

namespace {
struct Limit {
    const char* name;
    const char* key;
    double over_the_run;  // as the line through the samples has it
    double in_a_life;
};

// A handful may come late and stay: a library loaded, a cache filled. What leaks by the action grows past this in the
// first minutes: an operator acts six times a second.
constexpr Limit kLimits[kResourceCount] = {{"handles", "handles", 12, 12},
                                           {"GDI objects", "gdi_objects", 12, 12},
                                           {"windows", "windows", 2, 2},
                                           {"private memory (KiB)", "private_kib", 32768, 32768}};
}  // namespace

static void add_json_text(std::string* json, const std::string& text) {
    *json += '"';
    for (char c : text) {
        if (c == '"' || c == '\\') *json += '\\';
        *json += c;
    }
    *json += '"';
}

static void add_number(std::string* json, const char* key, double number) {
    char text[96];
    snprintf(text, sizeof text, "\"%s\": %.3f, ", key, number);
    *json += text;
}

static void judge_growth(Soak* soak, double hours) {
    for (int32_t i = 0; i < kResourceCount; ++i) {
        const double by_line = growth_per_hour(soak->samples[i]) * hours;
        const double in_a_life = largest_growth(soak->samples[i]);
        // The line of a short run is mostly noise; both must speak.
        if (by_line > kLimits[i].over_the_run && in_a_life > kLimits[i].in_a_life)
            soak_fail(soak, std::string(kLimits[i].name) + " grow by " + std::to_string(in_a_life) + " in a life");
    }
}

static void print_faults(const Soak& soak) {
    printf("\n%-42s %7s %9s %6s %8s\n", "fault", "thrown", "survived", "named", "unnamed");
    FaultTally sum = {};
    for (int32_t i = 1; i < kFaultKinds; ++i) {
        const FaultTally& tally = soak.tally[i];
        sum = {sum.thrown + tally.thrown, sum.survived + tally.survived, sum.named + tally.named,
               sum.unnamed + tally.unnamed};
        if (tally.thrown > 0)
            printf("%-42s %7d %9d %6d %8d\n", fault_name(static_cast<Fault>(i)).data(), tally.thrown, tally.survived,
                   tally.named, tally.unnamed);
    }
    printf("%-42s %7d %9d %6d %8d\n", "all", sum.thrown, sum.survived, sum.named, sum.unnamed);
}

static void print_silences(const Soak& soak) {
    printf("\nlongest silence of the message loop, by what went on (%llu questions asked)\n",
           static_cast<unsigned long long>(soak.meter.asked));
    for (const Silence& silence : soak.meter.notable)
        printf("  %6u ms of %6u  (%u without a processor)  %s\n", silence.lasted_ms, silence.allowed_ms,
               silence.starved_ms, silence.because.c_str());
    printf("  %6u ms           from the close message to the end (%s)\n", soak.longest_close_ms,
           soak.longest_close_because.c_str());
    printf("  %6u ms           from the start to the first answer\n", soak.longest_start_ms);
}

static void print_growth(const Soak& soak) {
    printf("\n%-22s %14s %18s\n", "growth", "per hour", "largest in a life");
    for (int32_t i = 0; i < kResourceCount; ++i)
        printf("%-22s %14.1f %18.0f\n", kLimits[i].name, growth_per_hour(soak.samples[i]),
               largest_growth(soak.samples[i]));
}

static void add_run(std::string* json, const Soak& soak, double minutes) {
    add_number(json, "seed", static_cast<double>(soak.seed));
    add_number(json, "minutes", minutes);
    add_number(json, "lives_with_stand_ins", soak.lives_fake);
    add_number(json, "lives_on_the_rig", soak.lives_rig);
    add_number(json, "operator_acts", soak.operator_acts);
    add_number(json, "questions_asked", static_cast<double>(soak.meter.asked));
    add_number(json, "longest_close_ms", soak.longest_close_ms);
    add_number(json, "longest_start_ms", soak.longest_start_ms);
}

static void add_faults(std::string* json, const Soak& soak) {
    *json += "\n\"faults\": [";
    for (int32_t i = 1, written = 0; i < kFaultKinds; ++i) {
        const FaultTally& tally = soak.tally[i];
        if (tally.thrown == 0) continue;
        *json += written++ > 0 ? ",\n{" : "\n{";
        add_number(json, "thrown", tally.thrown);
        add_number(json, "survived", tally.survived);
        add_number(json, "named", tally.named);
        *json += "\"kind\": ";
        add_json_text(json, std::string(fault_name(static_cast<Fault>(i))));
        *json += "}";
    }
    *json += "]";
}

static void add_silences(std::string* json, const std::vector<Silence>& silences) {
    *json += "\n\"silences\": [";
    for (size_t i = 0; i < silences.size(); ++i) {
        *json += i > 0 ? ",\n{" : "\n{";
        add_number(json, "ms", silences[i].lasted_ms);
        add_number(json, "allowed_ms", silences[i].allowed_ms);
        add_number(json, "without_processor_ms", silences[i].starved_ms);
        *json += "\"during\": ";
        add_json_text(json, silences[i].because);
        *json += "}";
    }
    *json += "]";
}

static void add_growth(std::string* json, const Soak& soak) {
    *json += "\n\"growth\": {";
    for (int32_t i = 0; i < kResourceCount; ++i) {
        *json += std::string(i > 0 ? ", \"" : "\"") + kLimits[i].key + "\": {";
        add_number(json, "per_hour", growth_per_hour(soak.samples[i]));
        char text[64];
        snprintf(text, sizeof text, "\"largest_in_a_life\": %.0f}", largest_growth(soak.samples[i]));
        *json += text;
    }
    *json += "}";
}

static void add_failures(std::string* json, const std::vector<std::string>& failures) {
    *json += "\n\"failures\": [";
    for (size_t i = 0; i < failures.size(); ++i) {
        *json += i > 0 ? ",\n" : "\n";
        add_json_text(json, failures[i]);
    }
    *json += "]";
}

static std::string as_json(const Soak& soak, double minutes) {
    std::string json = "{";
    add_run(&json, soak, minutes);
    add_faults(&json, soak);
    json += ",";
    add_silences(&json, soak.meter.notable);
    json += ",";
    add_growth(&json, soak);
    json += ",";
    add_failures(&json, soak.failures);
    json += "}\n";
    return json;
}

static void write_json(const Soak& soak, double minutes) {
    if (soak.report_path.empty()) return;
    const std::string json = as_json(soak, minutes);
    FILE* file = fopen(soak.report_path.c_str(), "wb");
    if (file == nullptr) return;
    fwrite(json.data(), 1, json.size(), file);
    fclose(file);
}

static void print_uncovered(const Soak& soak) {
    if (soak.limits.no_full_folder) printf("not covered: a full settings folder (no small volume for it)\n");
    if (soak.limits.no_clock) printf("not covered: the clock set back (nothing here that moves it)\n");
    if (soak.limits.no_rig) printf("not covered: the simulated rig (not enough memory for its rings)\n");
}

bool soak_report(Soak* soak) {
    const double minutes = static_cast<double>(GetTickCount64() - soak->started_ms) / 60000.0;
    judge_growth(soak, minutes / 60.0);
    printf("\nseed %llu, %.1f minutes, %d lives with stand-ins, %d on the rig, %d acts of the operator\n",
           static_cast<unsigned long long>(soak->seed), minutes, soak->lives_fake, soak->lives_rig,
           soak->operator_acts);
    print_faults(*soak);
    print_silences(*soak);
    print_growth(*soak);
    print_uncovered(*soak);
    printf("\n%zu failure(s)\n", soak->failures.size());
    for (const std::string& failure : soak->failures) printf("  %s\n", failure.c_str());
    write_json(*soak, minutes);
    return soak->failures.empty();
}
