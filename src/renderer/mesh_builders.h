// The four shapes every model of the room view is made of: a grid plane, a box, a disc and a
// sphere, each around its own origin, with texture coordinates in set 0, normals computed and
// one material on every face. Called by the room view's scene assembly.
#pragma once

#include "renderer/geometry.h"

// Each builder [window thread] returns a new mesh that the caller owns, or null when the mesh
// itself can't be allocated. When its vertices or faces can't be had the mesh comes back
// without either.

// A grid in the plane y = 0: width along x, height along z, (n + 1)^2 vertices row by row and
// 2 n^2 faces cell by cell. A division count of 0 counts as 1.
Mesh* makePlane(double width, double height, unsigned divisions, Material* material);
// 8 corners and 12 faces: width along x, height along z, depth along y.
Mesh* makeBox(double width, double height, double depth, Material* material);
// A fan of n faces on n rim vertices in the plane y = 0, hung on vertex 0, so that the first
// and the last face have no area.
Mesh* makeDisc(double radius, unsigned segments, Material* material);
// Two poles (+y first) and rings - 2 rings of segments vertices; top cap, bands, bottom cap.
// Segments and rings below 3 count as 3.
Mesh* makeSphere(double radius, unsigned segments, unsigned rings, Material* material);
