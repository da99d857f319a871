// The index sine table and the conversions between orientations and quaternions.
#include "Base/Geometry/AngleDefinitions.h"

#include <cmath>
#include <numbers>

namespace QELTA {

double const * AngleDefinitions::CalcIndexSin() {
    static double const * const table = [] {
        static double values[table_size];
        for (unsigned int i = 0; i < table_size; ++i) {
            values[i] = std::sin(i * std::numbers::pi * 0.5 * 6.103515625e-05);
        }
        return values;
    }();
    return table;
}

double const * const AngleDefinitions::s_index_sin = AngleDefinitions::CalcIndexSin();

double AngleDefinitions::IndexSin(Angle<double> const & angle) noexcept {
    double const index = angle.value;
    // Beyond 2^53 no fraction is left; the test also sends NaN and the infinities away.
    if (!(std::fabs(index) < 9007199254740992.0)) {
        return std::isnan(index) || std::isinf(index) ? std::numeric_limits<double>::quiet_NaN()
                                                      : IndexSin(static_cast<int>(std::fmod(index, 65536.0)));
    }
    double const below = std::floor(index);
    long long const step = static_cast<long long>(below);
    double const low = IndexSin(static_cast<int>(step & 0xFFFF));
    double const high = IndexSin(static_cast<int>((step + 1) & 0xFFFF));
    return low + (high - low) * (index - below);
}

double AngleDefinitions::IndexCos(Angle<double> const & angle) noexcept {
    return IndexSin(Angle<double>(angle.value + quarter_turn));
}

Vector<4, double> AngleDefinitions::OrientationToQuaternion(Vector<3, Angle<double>> const & orientation) noexcept {
    // Half of each angle in radians: index * 0.5 * pi / 32768.
    double const half_radians = 0.5 * 3.0517578125e-05 * std::numbers::pi;
    double const roll = orientation[0].value * half_radians;
    double const pitch = orientation[1].value * half_radians;
    double const yaw = orientation[2].value * half_radians;
    double const cr = std::cos(roll);
    double const sr = std::sin(roll);
    double const cp = std::cos(pitch);
    double const sp = std::sin(pitch);
    double const cy = std::cos(yaw);
    double const sy = std::sin(yaw);
    return Vector<4, double>(sr * cp * cy - cr * sp * sy, sr * cp * sy + cr * sp * cy, cr * cp * sy - sr * sp * cy,
                             sr * sp * sy + cr * cp * cy);
}

Vector<3, Angle<double>> AngleDefinitions::QuaternionToOrientation(Vector<4, double> const & quaternion) noexcept {
    double const x = quaternion[0];
    double const y = quaternion[1];
    double const z = quaternion[2];
    double const w = quaternion[3];
    double const index_per_half_turn = 32768.0;
    double const pi = std::numbers::pi;

    double const half_s = w * y - z * x;
    double const s = half_s + half_s;
    double pitch = 0.0;
    if (s >= 1.0) {
        pitch = 0.5;
    } else if (s <= -1.0) {
        pitch = -0.5;
    } else {
        pitch = static_cast<double>(static_cast<float>(std::asin(-2.0 * (z * x - w * y)))) / pi;
    }
    double const roll =
        static_cast<double>(static_cast<float>(std::atan2(2.0 * (z * y + w * x), z * z + w * w - y * y - x * x))) / pi;
    double const yaw =
        static_cast<double>(static_cast<float>(std::atan2(2.0 * (w * z + y * x), w * w - z * z - y * y + x * x))) / pi;
    return Vector<3, Angle<double>>(Angle<double>(roll * index_per_half_turn),
                                    Angle<double>(pitch * index_per_half_turn),
                                    Angle<double>(yaw * index_per_half_turn));
}

} // namespace QELTA
