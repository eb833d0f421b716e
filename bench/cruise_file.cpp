#include "bench/cruise_file.h"

#include <cmath>
#include <cstdio>
#include <memory>

#include "engine/compute_co2.h"
#include "engine/slots.h"

namespace brinora::bench {
namespace {

// A fixed pseudo-random sequence (splitmix64).
struct Random {
    std::uint64_t state;
    double uniform() {
        std::uint64_t z = (state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return static_cast<double>((z ^ (z >> 31)) >> 11) * 0x1.0p-53;
    }
    double between(double low, double high) { return low + (high - low) * uniform(); }
};

constexpr int kDepthsPerStation = 24;
constexpr int kBottlesPerDepth = 2;
// Depth of bottle level d of a station, dbar: 0 at the surface to 5000.
double levelPressure(int d) { return d == 0 ? 0.0 : 5000.0 * std::pow(static_cast<double>(d) / (kDepthsPerStation - 1), 1.6); }

struct CarbonatePair {
    int first, second;  // 1 TA, 2 TCO2, 3 pH, 4 fCO2, 5 pCO2
    double share;       // of the lines
};
constexpr CarbonatePair kPairs[] = {{1, 2, 0.60}, {1, 3, 0.15}, {2, 3, 0.10}, {3, 5, 0.05}, {1, 5, 0.05}, {2, 4, 0.05}};

}  // namespace

bool writeCruiseFile(const std::string& path, std::size_t lines, std::uint64_t seed) {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    if (!file) return false;
    std::fputs(
        "SampleID,Name,Time,Date,Latitude,Longitude,Salinity,Temperature (C),Pressure (dbar),Total P (umol/kg),"
        "Total Si (umol/kg),Temperature out (C),Pressure out (dbar),TA (umol/kg),TCO2 (umol/kg),pH (total),"
        "fCO2 (uatm),pCO2 (uatm),pCO2 air (uatm),Wind speed (m/s),Comment\n",
        file.get());

    Random random{seed};
    Board board;
    ProcessValues values;
    double latitude = 0, longitude = 0, surfaceT = 0, wind = 0;
    double S = 0, T = 0, P = 0, TP = 0, TSi = 0;
    for (std::size_t n = 0; n < lines; ++n) {
        const std::size_t bottle = n % (kDepthsPerStation * kBottlesPerDepth);
        const int level = static_cast<int>(bottle / kBottlesPerDepth);
        const std::size_t station = n / (kDepthsPerStation * kBottlesPerDepth);
        if (bottle == 0) {
            latitude = random.between(-60.0, 60.0);
            longitude = random.between(-180.0, 180.0);
            surfaceT = 28.0 - 0.4 * std::fabs(latitude) + random.between(-2.0, 2.0);
            wind = random.between(1.0, 14.0);
        }
        if (bottle % kBottlesPerDepth == 0) {
            // A new depth: the duplicate bottle shares its conditions.
            const double depthFraction = static_cast<double>(level) / (kDepthsPerStation - 1);
            P = levelPressure(level);
            T = surfaceT * std::exp(-4.0 * depthFraction) + 1.5 + random.between(-0.3, 0.3);
            S = 34.4 + 1.6 * (1.0 - depthFraction) + random.between(-0.2, 0.2);
            TP = 0.1 + 2.3 * std::sqrt(depthFraction) + random.between(0.0, 0.1);
            TSi = 1.0 + 130.0 * depthFraction + random.between(0.0, 5.0);
        }
        const double TA = 66.0 * S + random.between(-20.0, 30.0) + 40.0 * P / 5000.0;
        const double TCO2 = TA - 280.0 + 180.0 * P / 5000.0 + random.between(-15.0, 15.0);
        const bool laboratory = random.uniform() < 0.5;

        // The whole system at the sample's conditions, from TA and TCO2.
        board.reset();
        board.set(slot::kConstantsSet, 12.0f);
        board.set(slot::kKHSO4, 0.0f);
        board.set(slot::kpHScale, 0.0f);
        board.set(slot::kSalinity, static_cast<float>(S));
        board.set(slot::kTemperature, static_cast<float>(T));
        board.set(slot::kPressure, static_cast<float>(P));
        board.set(slot::kPhosphate, static_cast<float>(TP));
        board.set(slot::kSilicate, static_cast<float>(TSi));
        board.set(slot::kTA, static_cast<float>(TA));
        board.set(slot::kTCO2, static_cast<float>(TCO2));
        BrinoraMain::ComputeCO2(board, values);
        const double given[6] = {0.0,
                                 TA,
                                 TCO2,
                                 board.get(slot::kpHIn),
                                 board.get(slot::kfCO2In),
                                 board.get(slot::kpCO2In)};
        double pick = random.uniform();
        const CarbonatePair* pair = &kPairs[0];
        for (const CarbonatePair& candidate : kPairs) {
            pair = &candidate;
            if (pick < candidate.share) break;
            pick -= candidate.share;
        }
        char fields[5][24] = {};
        const char* formats[6] = {"", "%.1f", "%.1f", "%.4f", "%.1f", "%.1f"};
        for (int k = 1; k <= 5; ++k) {
            if (k == pair->first || k == pair->second) {
                std::snprintf(fields[k - 1], sizeof fields[k - 1], formats[k], given[k]);
            }
        }
        std::fprintf(file.get(),
                     "%zu,St%05zu-%02d,%02d:%02d,06/%02zu/2023,%.4f,%.4f,%.3f,%.3f,%.1f,%.2f,%.1f,%s,%s,%s,%s,%s,%s,%s,"
                     "415.0,%.1f,bottle %zu\n",
                     n + 1, station + 1, level, static_cast<int>(station % 24), static_cast<int>(bottle % 60),
                     station % 28 + 1, latitude, longitude, S, T, P, TP, TSi, laboratory ? "25" : "",
                     laboratory ? "0" : "", fields[0], fields[1], fields[2], fields[3], fields[4], wind, bottle + 1);
    }
    return std::ferror(file.get()) == 0;
}

}  // namespace brinora::bench
