// k3d* exports: the 3D renderer's geometry, its textured polygons and the map scene.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"
#include "graphics/3d/geometry.h"
#include "graphics/core/molaq.h"

extern "C" {
void RUNA1_API k3dRevolveXAxis(K3DVector* dst, const K3DVector* src, const K3DRevolution* angle, uint32_t count);
void RUNA1_API k3dRevolveYAxis(K3DVector* dst, const K3DVector* src, const K3DRevolution* angle, uint32_t count);
void RUNA1_API k3dRevolveZAxis(K3DVector* dst, const K3DVector* src, const K3DRevolution* angle, uint32_t count);
void RUNA1_API k3dGetRevolutionYXAxis(K3DRevolution* yAngle, K3DRevolution* xAngle, const K3DVector* direction);
uint32_t RUNA1_API k3dClipZBelow(K3DVector* dst, const K3DVector* src, uint32_t count, int32_t zNear);
void RUNA1_API k3dProject2DScreen(K3DPoint* dst, const K3DVector* src, uint32_t count, const int32_t* center,
                                  int32_t focal);
uint32_t RUNA1_API k3dClipDispRect(K3DPoint* dst, const K3DPoint* src, uint32_t count, const int32_t* rect);
void RUNA1_API k3dNormalizeForDrawPolygon(K3DPoint* first, uint32_t* firstCount, K3DPoint* second,
                                          uint32_t* secondCount, const K3DPoint* polygon, uint32_t count);
void RUNA1_API k3dDrawTexturePlygon(ImageInfo* destination, K3DPoint* polygon, uint32_t count, ImageInfo* texture,
                                    K3DVector* origin, K3DVector* axisU, K3DVector* axisV, int32_t* center,
                                    int32_t focal);
}
