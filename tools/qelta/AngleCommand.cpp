// qelta angle: an angle in every form the library holds it, with its sine table and quaternion.
#include "tools/qelta/Command.h"

#include "Base/Geometry/Angle.h"
#include "Base/Geometry/AngleDefinitions.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"

#include <cstdio>
#include <memory>
#include <string>

namespace QELTA::Tool {
namespace {

void PrintRow(char const * label, StringView const & value) {
    std::printf("%-16s %.*s\n", label, static_cast<int>(value.size()), value.data());
}

void PrintAngle(Angle<double> const & angle) {
    StringAllocatingView as_int;
    StringStream<Angle<int>>::toString(Angle<int>(angle), as_int);
    PrintRow("index (double)", NumberText(angle.value));
    PrintRow("index (int)", as_int.view());
    PrintRow("degrees", NumberText(angle.degrees()));
    PrintRow("radians", NumberText(angle.radians()));
    PrintRow("sine (table)", NumberText(AngleDefinitions::IndexSin(angle)));
    PrintRow("cosine (table)", NumberText(AngleDefinitions::IndexCos(angle)));
    Vector<4, double> const q =
        AngleDefinitions::OrientationToQuaternion(Vector<3, Angle<double>>(Angle<double>(), Angle<double>(), angle));
    String quaternion;
    char const * const names[4] = {"x ", ", y ", ", z ", ", w "};
    for (unsigned int i = 0; i < 4; ++i) {
        quaternion.append(names[i]);
        quaternion.append(NumberText(q[i]));
    }
    PrintRow("yaw quaternion", quaternion);
}

struct AngleArguments {
    double value = 0.0;
    std::string from = "degrees";
};

int RunAngle(AngleArguments const & arguments) {
    if (arguments.from == "radians") {
        PrintAngle(Angle<double>::FromRadians(arguments.value));
    } else if (arguments.from == "index") {
        PrintAngle(Angle<double>(arguments.value));
    } else {
        PrintAngle(Angle<double>::FromDegrees(arguments.value));
    }
    return exit_ok;
}

} // namespace

void DemoAngle() {
    std::puts("\n== Angles");
    std::puts("Angles are held in index units, 65536 to the full turn. A right angle:");
    PrintAngle(Angle<double>::FromDegrees(90.0));
    Vector<3, Angle<double>> const orientation(Angle<double>(1000.0), Angle<double>(4000.0), Angle<double>(-2000.0));
    Vector<3, Angle<double>> const back =
        AngleDefinitions::QuaternionToOrientation(AngleDefinitions::OrientationToQuaternion(orientation));
    std::printf("Roll, pitch, yaw 1000, 4000, -2000 through a quaternion come back as\n  %s, %s, %s\n",
                NumberText(back[0].value).c_str(), NumberText(back[1].value).c_str(),
                NumberText(back[2].value).c_str());
    std::puts("(float accuracy, on purpose, so that a stored orientation reads the same everywhere).");
    Vector<3, Angle<double>> const upright(Angle<double>(), Angle<double>(16384.0), Angle<double>());
    std::printf(
        "A pitch of a quarter turn comes back as exactly %s.\n",
        NumberText(
            AngleDefinitions::QuaternionToOrientation(AngleDefinitions::OrientationToQuaternion(upright))[1].value)
            .c_str());
}

void AddAngleCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<AngleArguments>();
    CLI::App & angle =
        AddCommand(qelta, "angle", "an angle in index units, degrees and radians, with its table sine and quaternion",
                   "Reads the leading number of VALUE (\"90deg\" reads 90) as degrees (the default), radians or\n"
                   "index units (65536 to the full turn) and prints the angle in every form:\n"
                   "  index (double)  the index as the library stores an Angle<double>\n"
                   "  index (int)     the nearest int index; NaN when it does not fit an int\n"
                   "  degrees         360 to the full turn\n"
                   "  radians         2 pi to the full turn\n"
                   "  sine, cosine    from the quarter-turn table of 16385 entries, mirrored to the full turn\n"
                   "                  and interpolated between entries\n"
                   "  yaw quaternion  x, y, z, w of a turn by the angle about the vertical axis",
                   [arguments] { return RunAngle(*arguments); });
    AddNumber(angle, "VALUE", arguments->value, "the angle")->required();
    angle.add_option("--from", arguments->from, "the unit of VALUE (default degrees)")
        ->check(CLI::IsMember({"degrees", "radians", "index"}));
}

} // namespace QELTA::Tool
