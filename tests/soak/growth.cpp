#include "tests/soak/growth.h"

#include <algorithm>
#include <map>

namespace {
struct Means {
    double hours, amount;
    int32_t count;
};
}  // namespace

double growth_per_hour(std::span<const GrowthSample> samples) {
    std::map<int32_t, Means> means;
    for (const GrowthSample& sample : samples) {
        Means& mean = means[sample.life];
        mean.hours += sample.hours;
        mean.amount += sample.amount;
        ++mean.count;
    }
    double products = 0;
    double squares = 0;
    for (const GrowthSample& sample : samples) {
        const Means& mean = means[sample.life];
        const double hours = sample.hours - mean.hours / mean.count;
        products += hours * (sample.amount - mean.amount / mean.count);
        squares += hours * hours;
    }
    return squares > 0 ? products / squares : 0;
}

double largest_growth(std::span<const GrowthSample> samples) {
    std::map<int32_t, double> first;
    std::map<int32_t, double> last;
    for (const GrowthSample& sample : samples) {
        first.try_emplace(sample.life, sample.amount);
        last[sample.life] = sample.amount;
    }
    double largest = 0;
    for (const auto& [life, amount] : last) largest = std::max(largest, amount - first[life]);
    return largest;
}
