#pragma once

namespace Tessaly {

struct EModulusLut;
struct EModulusMesh;

/// Delaunay triangulation of a table's rows, inserted in file order, and its grid of cells.
/// Points that coincide with an earlier one, or lie on its circumcircles only, change nothing; a table whose rows lie
/// on a line may give a mesh without triangles. O(rows^2), 0.1 s for 2000 rows. Sources: Bowyer, Comput. J. 24 (1981);
/// Watson, ibid.
/// @param lut  at least 3 rows of finite numbers; triangles with a node whose modulus is NaN are left out
EModulusMesh buildMesh(const EModulusLut& lut);

} // namespace Tessaly
