#include "DemoSet.h"

namespace Tessaly {

namespace {

struct Donor {
    double stiffness;
    double size;
    std::size_t controlEvents;
    std::size_t treatedEvents;
};

constexpr Donor donors[] = {{0.94, 1.02, 2400, 2200}, {1.0, 1.0, 2800, 2000}, {1.07, 0.97, 2100, 2600}};

std::array<CellKind, 2> populations(double stiffness, double size, double secondDye) {
    return {CellKind{0.58, 65.0 * size, 0.12, 0.8 * stiffness, 0.21, {0.0, 450.0 * secondDye, 0.0}},
            CellKind{0.42, 150.0 * size, 0.12, 1.6 * stiffness, 0.14, {2500.0, 120.0 * secondDye, 0.0}}};
}

} // namespace

std::vector<DemoSetEntry> demoSet() {
    std::vector<DemoSetEntry> entries;
    for (const bool treated : {false, true}) {
        const std::string condition = treated ? "Treated" : "Control";
        for (std::int64_t donor = 1; donor <= 3; ++donor) {
            const Donor& properties = donors[donor - 1];
            const std::string number = std::to_string(donor);
            DemoRun run;
            run.sample = condition + " donor ID" + number + " BR1 TR1";
            run.date = "2024-05-1" + number;
            run.time = treated ? "14:20:00" : "10:05:00";
            run.runIndex = 2 * donor + (treated ? 1 : 0);
            run.seed = static_cast<std::uint64_t>(1000 + 10 * donor + (treated ? 1 : 0));
            run.events = treated ? properties.treatedEvents : properties.controlEvents;
            run.temperature = 22.9 + 0.2 * static_cast<double>(donor);
            run.kinds =
                populations((treated ? 1.25 : 1.0) * properties.stiffness, properties.size, treated ? 1.8 : 1.0);
            if (treated && donor == 3) {
                run.changedSampleName = "Treated donor ID3 BR1 TR1 (single cells)";
            }
            entries.push_back({condition, condition + "_donor" + number + ".vqd", run});
        }
    }
    DemoRun reservoir;
    reservoir.sample = "Control donor ID1 reservoir";
    reservoir.date = "2024-05-11";
    reservoir.time = "09:50:00";
    reservoir.seed = 2000;
    reservoir.events = 2000;
    reservoir.reservoir = true;
    reservoir.temperature = 23.1;
    reservoir.kinds = populations(donors[0].stiffness, donors[0].size, 1.0);
    entries.push_back({"Control", "Control_donor1_reservoir.vqd", reservoir});
    return entries;
}

std::vector<DemoSetEntry> statisticsSet() {
    struct Condition {
        const char* name;
        double stiffness;
    };
    constexpr Condition conditions[] = {{"Baseline", 1.0}, {"Low dose", 1.3}, {"High dose", 1.65}};
    constexpr std::int64_t donorCount = 8;
    std::vector<DemoSetEntry> entries;
    std::uint64_t seed = 4000;
    for (const Condition& condition : conditions) {
        for (std::int64_t donor = 1; donor <= donorCount; ++donor) {
            // Donors differ a little in both, the same way in every condition.
            const double place = static_cast<double>(donor - 1) / static_cast<double>(donorCount - 1) - 0.5;
            const double otherPlace = static_cast<double>(3 * donor % donorCount) / donorCount - 0.5;
            DemoRun run;
            run.sample = std::string(condition.name) + " donor ID" + std::to_string(donor) + " BR1";
            run.date = "2024-06-0" + std::to_string(donor);
            run.runIndex = donor;
            run.seed = ++seed;
            run.events = 1500;
            run.images = false;
            run.kinds = populations(condition.stiffness * (1.0 + 0.1 * place), 1.0 + 0.1 * otherPlace, 1.0);
            entries.push_back({condition.name, "Donor" + std::to_string(donor) + ".vqd", run});
        }
    }
    return entries;
}

DemoRun benchmarkRun(std::size_t events, bool images) {
    DemoRun run;
    run.sample = "Benchmark, " + std::to_string(events) + " events";
    run.seed = 3000;
    run.events = events;
    run.images = images;
    run.kinds = populations(1.0, 1.0, 1.0);
    return run;
}

} // namespace Tessaly
