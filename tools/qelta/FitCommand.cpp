// qelta fit: the transform that carries one column of points onto another, with the residuals.
#include "tools/qelta/Command.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/BufferedScanner.h"
#include "Base/Geometry/MatrixFunctions.h"
#include "Base/Text/StringStream.h"

#include <cmath>
#include <cstdio>
#include <memory>
#include <numbers>
#include <string>
#include <string_view>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace QELTA::Tool {
namespace {

using Point = MatrixFunctions::Point;
using Matrix4 = Matrix<double, 4, 4>;

constexpr unsigned int fields_per_line = 6;
constexpr char comment_mark = '#';
// Progress is shown every this many lines, on a terminal.
constexpr unsigned long long progress_step = 1u << 16;

struct Pairs {
    Buffer<Point> from;
    Buffer<Point> to;
    std::vector<unsigned long long> lines; // the line of each pair
};

// The number the field holds, by the library's reader; false unless the whole field is a number.
bool ReadNumber(std::string_view field, double & value) {
    while (!field.empty() && (field.front() == ' ' || field.front() == '\t')) {
        field.remove_prefix(1);
    }
    while (!field.empty() && (field.back() == ' ' || field.back() == '\t' || field.back() == '\r')) {
        field.remove_suffix(1);
    }
    if (field.empty() || field.find_first_not_of("0123456789+-.eE") != std::string_view::npos) {
        return false;
    }
    std::string const copy(field);
    StringStream<double>::fromString(StringView(copy), value);
    return std::isfinite(value);
}

// "qelta fit: <file>:<line>:<field>: <message>", exit code 1.
int FailAt(std::string const & file, unsigned long long line, unsigned int field, std::string const & message) {
    std::fflush(stdout);
    std::fprintf(stderr, "qelta fit: %s:%llu:%u: %s\n", file.c_str(), line, field, message.c_str());
    return exit_failure;
}

// Six numbers a line, from x, y, z, then to x, y, z; blank lines, lines of '#' and a first line that
// isn't numbers (a header) are passed over.
int ReadPairs(std::string const & path, char delimiter, Pairs & pairs) {
    BufferedScanner scanner(FromNativePath(path), delimiter, File::READ_BINARY);
    bool const on_terminal = isatty(STDERR_FILENO) != 0;
    bool first = true;
    while (scanner.nextLine()) {
        unsigned long long const line = scanner.getCurrentLineNumber();
        if (on_terminal && line % progress_step == 0) {
            std::fprintf(stderr, "\rreading %s: %llu lines", path.c_str(), line);
        }
        std::string_view const text(scanner.currentLine().view());
        if (text.find_first_not_of(" \t\r") == std::string_view::npos || text.front() == comment_mark) {
            continue;
        }
        double values[fields_per_line];
        unsigned int count = 0;
        bool numbers = true;
        std::size_t start = 0;
        for (;;) {
            std::size_t const end = text.find(delimiter, start);
            std::string_view const field = text.substr(start, end == std::string_view::npos ? end : end - start);
            ++count;
            if (count <= fields_per_line && !ReadNumber(field, values[count - 1])) {
                if (!first) {
                    return FailAt(path, line, count, "'" + std::string(field) + "' is not a number");
                }
                numbers = false;
            }
            if (end == std::string_view::npos) {
                break;
            }
            start = end + 1;
        }
        bool const header = first && !numbers;
        first = false;
        if (header) {
            continue;
        }
        if (count != fields_per_line) {
            return FailAt(path, line, count,
                          std::to_string(count) + " fields where six are wanted: from x, y, z, then to x, y, z");
        }
        pairs.from.add(Point(values[0], values[1], values[2]));
        pairs.to.add(Point(values[3], values[4], values[5]));
        pairs.lines.push_back(line);
    }
    if (on_terminal) {
        std::fprintf(stderr, "\r%*s\r", static_cast<int>(path.size()) + 32, "");
    }
    return exit_ok;
}

struct FitArguments {
    std::string file;
    std::string delimiter = ",";
    bool affine = false;
    bool no_yaw = false;
    bool no_pitch = false;
    bool no_scale = false;
    bool no_xy = false;
    bool no_z = false;
    unsigned int show = 20;
};

std::string Description(FitArguments const & arguments) {
    if (arguments.affine) {
        return "least-squares affine";
    }
    std::string parts;
    auto const add = [&parts](bool on, char const * part) {
        if (on) {
            parts += std::string(parts.empty() ? "" : ", ") + part;
        }
    };
    add(!arguments.no_yaw, "yaw");
    add(!arguments.no_pitch, "pitch");
    add(!arguments.no_scale, "scale");
    add(!arguments.no_xy, "move in x and y");
    add(!arguments.no_z, "move in z");
    return "constrained: " + (parts.empty() ? std::string("nothing may change") : parts);
}

void PrintMatrix(Matrix4 const & matrix) {
    for (unsigned int row = 0; row < 4; ++row) {
        std::printf("%s", row == 0 ? "matrix    " : "          ");
        for (unsigned int column = 0; column < 4; ++column) {
            // Rounding noise prints as 0, not as "-0.00000000".
            double const value = matrix(row, column);
            std::printf(" %14.8f", std::fabs(value) < 5e-9 ? 0.0 : value);
        }
        std::putchar('\n');
    }
}

int RunFit(FitArguments const & arguments) {
    Pairs pairs;
    try {
        if (int const code = ReadPairs(arguments.file, arguments.delimiter[0], pairs); code != exit_ok) {
            return code;
        }
    } catch (Exception const & error) {
        return Failure("fit", error);
    }
    Matrix4 fit;
    if (arguments.affine) {
        fit = MatrixFunctions::SolveLeastSquaredAffine(pairs.from, pairs.to);
    } else {
        MatrixFunctions::TransformSolveOptions options;
        options.from_points = pairs.from;
        options.to_points = pairs.to;
        options.solve_yaw = !arguments.no_yaw;
        options.solve_pitch = !arguments.no_pitch;
        options.solve_scale = !arguments.no_scale;
        options.solve_xy = !arguments.no_xy;
        options.solve_z = !arguments.no_z;
        fit = MatrixFunctions::SolveBestFitTransform(options);
    }
    std::printf("pairs      %u from %s\n", pairs.from.size(), arguments.file.c_str());
    std::printf("fit        %s\n", Description(arguments).c_str());
    if (MatrixFunctions::IsFailedFit(fit)) {
        std::fflush(stdout);
        std::fprintf(stderr, "qelta fit: %s: the pairs fix no transform: %s\n", arguments.file.c_str(),
                     arguments.affine ? "the affine fit needs four pairs whose from-points don't lie in one plane"
                                      : "no pair, or every from-point on the centroid");
        return exit_failure;
    }
    PrintMatrix(fit);
    double sum = 0.0;
    double largest = -1.0;
    unsigned long long largest_line = 0;
    for (unsigned int i = 0; i < pairs.from.size(); ++i) {
        double const residual = (fit.transform(pairs.from[i]) - pairs.to[i]).length();
        sum += residual * residual;
        if (residual > largest) {
            largest = residual;
            largest_line = pairs.lines[i];
        }
        if (i < arguments.show) {
            std::printf("%s line %-6llu %.6g\n", i == 0 ? "residuals " : "          ", pairs.lines[i], residual);
        }
    }
    if (pairs.from.size() > arguments.show) {
        std::printf("           ... and %u more\n", pairs.from.size() - arguments.show);
    }
    std::printf("rms        %.6g\n", std::sqrt(sum / pairs.from.size()));
    std::printf("largest    %.6g at line %llu\n", largest, largest_line);
    return exit_ok;
}

} // namespace

void DemoFit() {
    std::puts("\n== Fitted transforms");
    // A survey's marks in site coordinates and the same marks as measured: turned by 30 degrees,
    // moved by (100, 200, 5) and a little off. No mark stands straight above the centroid: its
    // heading would be noise, and the fit weighs every heading by the mark's whole distance.
    Buffer<Point> const site = {Point(0.0, 0.0, 0.0), Point(10.0, 0.0, 0.0), Point(10.0, 8.0, 0.0),
                                Point(0.0, 8.0, 1.0), Point(4.0, 6.0, 3.0)};
    double const c = std::cos(std::numbers::pi / 6);
    double const s = std::sin(std::numbers::pi / 6);
    double const noise[] = {0.002, -0.001, 0.0, 0.001, -0.002};
    MatrixFunctions::TransformSolveOptions options;
    options.from_points = site;
    for (unsigned int i = 0; i < site.size(); ++i) {
        Point const & p = site[i];
        options.to_points.add(Point(c * p[0] - s * p[1] + 100.0 + noise[i], s * p[0] + c * p[1] + 200.0, p[2] + 5.0));
    }
    options.solve_pitch = false;
    options.solve_scale = false;
    Matrix4 const fit = MatrixFunctions::SolveBestFitTransform(options);
    std::printf("Five marks turned by 30 degrees and moved by (100, 200, 5), measured to 2 mm:\n");
    std::printf("  fitted turn %.3f degrees, move (%.3f, %.3f, %.3f)\n",
                std::atan2(fit(1, 0), fit(0, 0)) * 180.0 / std::numbers::pi, fit(0, 3), fit(1, 3), fit(2, 3));
    double largest = 0.0;
    for (unsigned int i = 0; i < site.size(); ++i) {
        largest = std::fmax(largest, (fit.transform(site[i]) - options.to_points[i]).length());
    }
    std::printf("  largest residual %.4f\n", largest);
    Buffer<Point> const flat = {site[0], site[1], site[2], Point(3.0, 3.0, 0.0)};
    Matrix4 const plane = MatrixFunctions::SolveLeastSquaredAffine(flat, flat);
    std::printf("An affine fit of four marks in one plane %s.\n",
                MatrixFunctions::IsFailedFit(plane) ? "fails plainly: every element of its matrix is NaN"
                                                    : "fits, which it should not");
}

void AddFitCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<FitArguments>();
    CLI::App & fit =
        AddCommand(qelta, "fit", "the transform that carries one column of points onto another, with the residuals",
                   "Reads POINTS, a delimited text file with six numbers a line: a point (x, y, z) and the point it\n"
                   "should go to. Blank lines, lines beginning with '#' and a first line that isn't numbers (a\n"
                   "header) are passed over. Prints the 4x4 matrix of the fit by rows (the last column is the\n"
                   "move), the distance of each fitted point from its target and their root mean square.\n\n"
                   "The constrained fit turns about the vertical axis (yaw), tilts (pitch), scales the same in every\n"
                   "direction and moves; each may be switched off. z is up. The turn and the scale come back exactly\n"
                   "from exact points; the tilt is an estimate. --affine fits any affine transform by least squares\n"
                   "instead, which needs four points that don't lie in one plane.\n\n"
                   "A field that isn't a number ends with exit code 1, naming the file, line and field; so do pairs\n"
                   "that fix no transform.",
                   [arguments] { return RunFit(*arguments); });
    fit.add_option("POINTS", arguments->file, "the file of point pairs")->required();
    fit.add_option("--delimiter", arguments->delimiter, "the field delimiter, one byte (default ',')")
        ->type_name("C")
        ->check(CLI::Validator(
            [](std::string const & text) { return text.size() == 1 ? std::string() : std::string("is not one byte"); },
            ""));
    CLI::Option * const affine = fit.add_flag("--affine", arguments->affine, "the least-squares affine fit");
    for (auto const & [name, flag, help] :
         {std::tuple{"--no-yaw", &arguments->no_yaw, "no turn about the vertical axis"},
          std::tuple{"--no-pitch", &arguments->no_pitch, "no tilt"},
          std::tuple{"--no-scale", &arguments->no_scale, "no scale"},
          std::tuple{"--no-xy", &arguments->no_xy, "no move in x and y"},
          std::tuple{"--no-z", &arguments->no_z, "no move in z"}}) {
        fit.add_flag(name, *flag, help)->excludes(affine);
    }
    AddCount(fit, "--show", arguments->show, 0, 1000000000, "how many residuals to list (default 20)");
}

} // namespace QELTA::Tool
