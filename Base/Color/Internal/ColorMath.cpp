// The shared colour arithmetic: the table of linear channels and the hexcone.
#include "Base/Color/Internal/ColorMath.h"

#include <array>

namespace QELTA::ColorMath {

float const * LinearChannelTable() noexcept {
    static std::array<float, 256> const s_table = [] {
        std::array<float, 256> table{};
        for (unsigned int byte = 0; byte < 256; ++byte) {
            table[byte] = LinearChannel(static_cast<unsigned char>(byte));
        }
        return table;
    }();
    return s_table.data();
}

Vector<3, double> Hexcone(double x, double s, double v) noexcept {
    if (!std::isfinite(x) || std::fabs(x) > 1.0e15) {
        return Vector<3, double>(0.0, 0.0, 0.0);
    }
    double const i = std::floor(x);
    double const f = x - i;
    double const p = (1.0 - s) * v;
    double const q = (1.0 - f * s) * v;
    double const t = (1.0 - (1.0 - f) * s) * v;
    switch (static_cast<long long>(i) % 6) {
    case 0:
        return Vector<3, double>(v, t, p);
    case 1:
        return Vector<3, double>(q, v, p);
    case 2:
        return Vector<3, double>(p, v, t);
    case 3:
        return Vector<3, double>(p, q, v);
    case 4:
        return Vector<3, double>(t, p, v);
    case 5:
        return Vector<3, double>(v, p, q);
    default:
        return Vector<3, double>(0.0, 0.0, 0.0);
    }
}

} // namespace QELTA::ColorMath
