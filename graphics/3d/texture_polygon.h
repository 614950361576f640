// The textured polygon rasteriser: fills a convex screen polygon from an 8-bit texture that
// lies on a plane in view space. Each sampled pixel is a ray from the eye, intersected with the
// texture's plane and solved for the texture coordinates in double precision, which gives exact
// perspective; only every second pixel of every second row is solved, the others are the means
// of their neighbours' integer coordinates. A pixel is copied from the texture or left alone:
// no z test, no lighting.
#pragma once

#include <cstdint>

#include "graphics/3d/geometry.h"
#include "graphics/core/molaq.h"

namespace k3d {

enum class Variant { Chosen, Plain, Vector };

// `polygon` is convex and already clipped to `destination`; both images are 8 bits per pixel
// (their `bits` is not read). The texture's texel (u, v) lies at origin + u * axisU + v * axisV;
// center and focal are those the polygon was projected with. Nothing is drawn for a polygon
// without points or an image without pixels. A plane seen edge-on leaves the pixels of the
// rays that run along it alone.
// Variant::Chosen follows the drawing core: the vector rows when its record holds the vector
// kernels (by processor and MOLAQ_SetDefInterface's flags).
void drawTexturePolygon(const ImageInfo& destination, const K3DPoint* polygon, uint32_t count,
                        const ImageInfo& texture, const K3DVector& origin, const K3DVector& axisU,
                        const K3DVector& axisV, const int32_t center[2], int32_t focal,
                        Variant variant = Variant::Chosen);

}  // namespace k3d
