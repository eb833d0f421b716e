// Monte Carlo propagation: draws of the sources from a multivariate normal
// distribution through the double-precision calculation, on worker threads.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <random>
#include <thread>
#include <vector>

#include "uncertainty/propagation.h"

namespace brinora::uncertainty {
namespace {

// Draws per block; each block has its own generator, seeded from the seed
// and the block number, so the draws do not depend on the thread count.
constexpr std::uint64_t kBlock = 1024;

// SplitMix64 (Steele, Lea and Flood 2014): a well-mixed 64-bit seed per block.
std::uint64_t SplitMix64(std::uint64_t x) {
    x += 0x9e3779b97f4a7c15ULL;
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ULL;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebULL;
    return x ^ (x >> 31);
}

// Lower-triangular L with L L' = C (Cholesky); a source of zero variance
// gets a zero column, so a positive semi-definite C is accepted.
std::array<double, kSourceCount * kSourceCount> Cholesky(const Covariance& c) {
    constexpr std::size_t n = kSourceCount;
    std::array<double, n * n> L{};
    for (std::size_t j = 0; j < n; ++j) {
        double diag = c[j * n + j];
        for (std::size_t k = 0; k < j; ++k) diag -= L[j * n + k] * L[j * n + k];
        if (diag <= 1e-300) continue;
        const double root = std::sqrt(diag);
        L[j * n + j] = root;
        for (std::size_t i = j + 1; i < n; ++i) {
            double s = c[i * n + j];
            for (std::size_t k = 0; k < j; ++k) s -= L[i * n + k] * L[j * n + k];
            L[i * n + j] = s / root;
        }
    }
    return L;
}

// Sums of the deviations from the nominal values over one block of draws.
struct BlockSums {
    std::array<double, kQuantityCount> sum{}, sumSquares{};
    std::uint64_t computed = 0;
};

}  // namespace

Outcome MonteCarlo(const ChemistryOptions& options, const Sample& sample, const Covariance& covariance,
                   std::uint64_t draws, std::uint64_t seed, unsigned threads, MonteCarloResult& result) {
    std::array<double, kQuantityCount> nominal;
    const Outcome outcome = EvaluateSample(options, sample, nominal);
    if (outcome != Outcome::kComputed) return outcome;
    const auto L = Cholesky(covariance);
    const std::uint64_t blocks = (draws + kBlock - 1) / kBlock;
    std::vector<BlockSums> sums(blocks);
    std::atomic<std::uint64_t> next{0};
    const auto work = [&] {
        for (;;) {
            const std::uint64_t b = next.fetch_add(1);
            if (b >= blocks) return;
            std::mt19937_64 generator(SplitMix64(seed ^ SplitMix64(b)));
            std::normal_distribution<double> normal(0.0, 1.0);
            BlockSums& s = sums[b];
            const std::uint64_t end = std::min(draws, (b + 1) * kBlock);
            for (std::uint64_t d = b * kBlock; d < end; ++d) {
                std::array<double, kSourceCount> z;
                for (double& v : z) v = normal(generator);
                Sample drawn = sample;
                for (std::size_t i = 0; i < kSourceCount; ++i) {
                    double shift = 0.0;
                    for (std::size_t k = 0; k <= i; ++k) shift += L[i * kSourceCount + k] * z[k];
                    drawn.x[i] += shift;
                }
                std::array<double, kQuantityCount> y;
                if (EvaluateSample(options, drawn, y) != Outcome::kComputed) continue;
                ++s.computed;
                for (std::size_t q = 0; q < kQuantityCount; ++q) {
                    const double dev = y[q] - nominal[q];
                    s.sum[q] += dev;
                    s.sumSquares[q] += dev * dev;
                }
            }
        }
    };
    const unsigned workers = static_cast<unsigned>(std::min<std::uint64_t>(std::max(1u, threads), blocks));
    if (workers <= 1) {
        work();
    } else {
        std::vector<std::thread> pool;
        for (unsigned w = 0; w < workers; ++w) pool.emplace_back(work);
        for (std::thread& t : pool) t.join();
    }
    BlockSums total;
    for (const BlockSums& s : sums) {  // in block order: the same sums for any thread count
        total.computed += s.computed;
        for (std::size_t q = 0; q < kQuantityCount; ++q) {
            total.sum[q] += s.sum[q];
            total.sumSquares[q] += s.sumSquares[q];
        }
    }
    result.computed = total.computed;
    const double n = static_cast<double>(total.computed);
    for (std::size_t q = 0; q < kQuantityCount; ++q) {
        const double meanDev = n > 0 ? total.sum[q] / n : std::nan("");
        result.mean[q] = nominal[q] + meanDev;
        result.sd[q] = n > 1 ? std::sqrt(std::max(0.0, (total.sumSquares[q] - n * meanDev * meanDev) / (n - 1.0)))
                             : std::nan("");
    }
    return Outcome::kComputed;
}

}  // namespace brinora::uncertainty
