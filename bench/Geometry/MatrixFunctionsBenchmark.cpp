// The least-squares affine fit on a million point pairs beside a plain normal-equations solve
// written here: sums of the points with a fourth coordinate of 1, then Gaussian elimination.
#include "Base/Geometry/MatrixFunctions.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <utility>

namespace QELTA {
namespace {

using Point = MatrixFunctions::Point;
using Matrix4 = Matrix<double, 4, 4>;

constexpr unsigned int pair_count = 1000000;

struct Pairs {
    Buffer<Point> from;
    Buffer<Point> to;
};

// Points in a box of 1 km with a sheared, turned and moved copy, noise of a millimetre.
Pairs const & Input() {
    static Pairs const pairs = [] {
        std::mt19937_64 random(13);
        std::uniform_real_distribution<double> spread(-500.0, 500.0);
        std::normal_distribution<double> noise(0.0, 0.001);
        Pairs result;
        result.from.ensureCapacity(pair_count);
        result.to.ensureCapacity(pair_count);
        for (unsigned int i = 0; i < pair_count; ++i) {
            double const x = spread(random);
            double const y = spread(random);
            double const z = spread(random);
            result.from.add(Point(x, y, z));
            result.to.add(Point(1.2 * x + 0.3 * y - 0.5 * z + 5.0 + noise(random),
                                0.1 * x + 0.9 * y + 0.2 * z - 2.0 + noise(random),
                                -0.4 * x + 0.25 * y + 1.1 * z + 0.5 + noise(random)));
        }
        return result;
    }();
    return pairs;
}

// The textbook way: A with rows (x, y, z, 1), solve (A^T A) X = A^T B for the 4x3 X.
Matrix4 PlainNormalEquations(Buffer<Point> const & from, Buffer<Point> const & to) {
    double normal[4][4] = {};
    double cross[4][3] = {};
    for (unsigned int i = 0; i < from.size(); ++i) {
        double const a[4] = {from[i][0], from[i][1], from[i][2], 1.0};
        for (unsigned int r = 0; r < 4; ++r) {
            for (unsigned int c = 0; c < 4; ++c) {
                normal[r][c] += a[r] * a[c];
            }
            for (unsigned int c = 0; c < 3; ++c) {
                cross[r][c] += a[r] * to[i][c];
            }
        }
    }
    for (unsigned int pivot = 0; pivot < 4; ++pivot) {
        unsigned int best = pivot;
        for (unsigned int r = pivot + 1; r < 4; ++r) {
            if (std::fabs(normal[r][pivot]) > std::fabs(normal[best][pivot])) {
                best = r;
            }
        }
        std::swap(normal[pivot], normal[best]);
        std::swap(cross[pivot], cross[best]);
        for (unsigned int r = pivot + 1; r < 4; ++r) {
            double const factor = normal[r][pivot] / normal[pivot][pivot];
            for (unsigned int c = pivot; c < 4; ++c) {
                normal[r][c] -= factor * normal[pivot][c];
            }
            for (unsigned int c = 0; c < 3; ++c) {
                cross[r][c] -= factor * cross[pivot][c];
            }
        }
    }
    double x[4][3];
    for (unsigned int r = 4; r-- > 0;) {
        for (unsigned int c = 0; c < 3; ++c) {
            double sum = cross[r][c];
            for (unsigned int k = r + 1; k < 4; ++k) {
                sum -= normal[r][k] * x[k][c];
            }
            x[r][c] = sum / normal[r][r];
        }
    }
    Matrix4 fit;
    for (unsigned int r = 0; r < 3; ++r) {
        for (unsigned int c = 0; c < 4; ++c) {
            fit(r, c) = x[c][r];
        }
    }
    return fit;
}

void AffineOurs(benchmark::State & state) {
    Pairs const & pairs = Input();
    for (auto _ : state) {
        benchmark::DoNotOptimize(MatrixFunctions::SolveLeastSquaredAffine(pairs.from, pairs.to));
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations()) * pair_count);
}

void AffinePlain(benchmark::State & state) {
    Pairs const & pairs = Input();
    for (auto _ : state) {
        benchmark::DoNotOptimize(PlainNormalEquations(pairs.from, pairs.to));
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations()) * pair_count);
}

[[maybe_unused]] bool const registered = [] {
    benchmark::RegisterBenchmark("AffineFit/QELTA", AffineOurs)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("AffineFit/normal equations", AffinePlain)->Unit(benchmark::kMillisecond);
    return true;
}();

} // namespace
} // namespace QELTA
