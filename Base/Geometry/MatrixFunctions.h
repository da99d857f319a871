// MatrixFunctions: the transform that carries one set of points onto another, fitted to pairs.
//
// An all-static class of pure functions: no state, no lock, callable from any thread on its own
// inputs. Nothing raises. A fit that cannot be made gives FailedFit(), a matrix of sixteen NaNs
// that no caller can take for a usable transform: buffers that are empty or of different lengths,
// a coordinate that is NaN or infinite, and too few or degenerate points for what is solved (see
// each function). A fit never returns a matrix with only some elements NaN.
#pragma once

#include "Base/Export.h"
#include "Base/Geometry/Matrix.h"
#include "Base/Geometry/Vector.h"
#include "Base/Text/Buffer.h"

namespace QELTA {

class QELTA_BASE_EXPORT MatrixFunctions {
  public:
    MatrixFunctions() = delete;

    using Matrix4 = Matrix<double, 4, 4>;
    using Point = Vertex<3, double>;
    using Point2D = Vertex<2, double>;

    // The pairs to fit, paired by index, and what the fit may change. By default it may change
    // everything. z is up: yaw turns about the z axis, pitch tilts about the y axis, raising +x
    // toward +z, before the yaw.
    struct TransformSolveOptions {
        Buffer<Point> from_points;
        Buffer<Point> to_points;
        bool solve_xy = true;    // may move in x and y
        bool solve_z = true;     // may move in z
        bool solve_yaw = true;   // may turn about the vertical axis
        bool solve_pitch = true; // may tilt
        bool solve_scale = true; // may scale, the same in every direction
    };

    // Sixteen NaNs.
    static Matrix4 FailedFit() noexcept;
    // Whether `matrix` has a NaN element, as every failed fit has.
    static bool IsFailedFit(Matrix4 const & matrix) noexcept;

    // The constrained fit: a yaw, a pitch and a uniform scale about the centroid of the from-points,
    // then a translation that carries that centroid onto the centroid of the to-points in the
    // components it may move in (in the others the centroid keeps its place). Angles and scale are
    // averaged over the pairs after a first estimate from the first pair with both ends off their
    // centroids. Each pair is weighted by its distance from the centroids; a pair whose from-point
    // lies on its centroid says nothing about turn or scale and is passed over. The heading too is
    // weighted by the whole distance, so a pair straight above the centroids adds the heading of
    // rounding noise at full weight: a known flaw of the method, kept as it is. A turn about z, the
    // scale and the move come back exactly from exact points that lie off the vertical through the
    // centroids. The pitch is the mean change of elevation angle, an estimate: a tilt raises the
    // points on one side of the centroid and lowers those on the other, which a mean partly
    // cancels. A fit that turns or scales fails when every from-point lies on the centroid.
    static Matrix4 SolveBestFitTransform(TransformSolveOptions const & options);

    // The affine transform that takes `from` onto `to` with the least sum of squared distances:
    // the normal equations about the centroids, solved by LU decomposition with partial pivoting.
    // Fails with fewer than four pairs, or when the from-points lie in one plane (coplanar,
    // collinear or coincident points), where no unique affine transform exists. The sums over the
    // pairs run in two interleaved lanes, so the last bits depend on how the pairs fall into them:
    // for up to a few hundred thousand pairs the linear part lies within 1e-12 of the exact
    // least-squares solution (for elements of order one), and the translation within 5e-13 of the
    // size of the coordinates.
    static Matrix4 SolveLeastSquaredAffine(Buffer<Point> const & from, Buffer<Point> const & to);

    // Always FailedFit(): the plane fit is offered but has no solver, and callers must see that.
    static Matrix4 Solve2DAffine(Buffer<Point2D> const & from, Buffer<Point2D> const & to) noexcept;
};

} // namespace QELTA
