// AngleDefinitions: the table behind index sine and cosine, and orientations as quaternions.
//
// An all-static class. The table is filled once while the library loads and only read after
// that, so every function may be called from any thread; a static initialiser inside the library
// that needs the table calls CalcIndexSin() instead of reading s_index_sin. Nothing raises: an
// invalid angle gives NaN.
#pragma once

#include "Base/Export.h"
#include "Base/Geometry/Angle.h"
#include "Base/Geometry/Vector.h"

#include <bit>
#include <cstdint>
#include <limits>

namespace QELTA {

// An orientation is a Vector<3, Angle<double>> of roll, pitch and yaw, in this order, in index
// units. A quaternion is a Vector<4, double> in the order x, y, z, w.
class QELTA_BASE_EXPORT AngleDefinitions {
  public:
    static constexpr int quarter_turn = 16384;
    static constexpr unsigned int table_size = quarter_turn + 1;

    // sin(i * pi / 2 / 16384) for i from 0 to 16384, both ends included: a quarter turn. The
    // other three quadrants follow by symmetry.
    static double const * const s_index_sin;

    // Fills the table on the first call and returns it.
    static double const * CalcIndexSin();

    // Sine and cosine of an index taken modulo the full turn, from the table. No branch: the
    // second and fourth quadrants read the table backwards, the lower half turn flips the sign.
    static double IndexSin(int index) noexcept {
        unsigned int const turn = static_cast<unsigned int>(index) & 0xFFFFu;
        unsigned int const step = turn & 0x3FFFu;
        unsigned int const at = (turn & 0x4000u) != 0 ? quarter_turn - step : step;
        std::uint64_t const sign = static_cast<std::uint64_t>(turn >> 15) << 63;
        return std::bit_cast<double>(std::bit_cast<std::uint64_t>(s_index_sin[at]) ^ sign);
    }
    static double IndexCos(int index) noexcept {
        return IndexSin(static_cast<int>(static_cast<unsigned int>(index) + quarter_turn));
    }

    static double IndexSin(Angle<int> const & angle) noexcept {
        return angle.isValid() ? IndexSin(angle.value) : std::numeric_limits<double>::quiet_NaN();
    }
    static double IndexCos(Angle<int> const & angle) noexcept {
        return angle.isValid() ? IndexCos(angle.value) : std::numeric_limits<double>::quiet_NaN();
    }
    static double IndexSin(Angle<unsigned short> const & angle) noexcept { return IndexSin(int{angle.value}); }
    static double IndexCos(Angle<unsigned short> const & angle) noexcept { return IndexCos(int{angle.value}); }

    // Between table entries the value is interpolated linearly: good to about 1e-9.
    static double IndexSin(Angle<double> const & angle) noexcept;
    static double IndexCos(Angle<double> const & angle) noexcept;

    static Vector<4, double> OrientationToQuaternion(Vector<3, Angle<double>> const & orientation) noexcept;
    // The angles keep float accuracy only: each passes through single precision on purpose, so
    // that an orientation stored from a quaternion reads the same everywhere. A pitch at or beyond
    // a quarter turn, up or down, is exactly +-16384.
    static Vector<3, Angle<double>> QuaternionToOrientation(Vector<4, double> const & quaternion) noexcept;
};

} // namespace QELTA
