#include "host/exports/k3d.h"

#include "graphics/3d/texture_polygon.h"

void RUNA1_API k3dRevolveXAxis(K3DVector* dst, const K3DVector* src, const K3DRevolution* angle, uint32_t count) {
  k3d::revolveXAxis(dst, src, *angle, count);
}

void RUNA1_API k3dRevolveYAxis(K3DVector* dst, const K3DVector* src, const K3DRevolution* angle, uint32_t count) {
  k3d::revolveYAxis(dst, src, *angle, count);
}

void RUNA1_API k3dRevolveZAxis(K3DVector* dst, const K3DVector* src, const K3DRevolution* angle, uint32_t count) {
  k3d::revolveZAxis(dst, src, *angle, count);
}

void RUNA1_API k3dGetRevolutionYXAxis(K3DRevolution* yAngle, K3DRevolution* xAngle, const K3DVector* direction) {
  k3d::revolutionYXAxis(yAngle, xAngle, *direction);
}

uint32_t RUNA1_API k3dClipZBelow(K3DVector* dst, const K3DVector* src, uint32_t count, int32_t zNear) {
  return k3d::clipZBelow(dst, src, count, zNear);
}

void RUNA1_API k3dProject2DScreen(K3DPoint* dst, const K3DVector* src, uint32_t count, const int32_t* center,
                                  int32_t focal) {
  k3d::project2DScreen(dst, src, count, center, focal);
}

uint32_t RUNA1_API k3dClipDispRect(K3DPoint* dst, const K3DPoint* src, uint32_t count, const int32_t* rect) {
  return k3d::clipDispRect(dst, src, count, rect);
}

void RUNA1_API k3dNormalizeForDrawPolygon(K3DPoint* first, uint32_t* firstCount, K3DPoint* second,
                                          uint32_t* secondCount, const K3DPoint* polygon, uint32_t count) {
  k3d::normalizeForDrawPolygon(first, firstCount, second, secondCount, polygon, count);
}

void RUNA1_API k3dDrawTexturePlygon(ImageInfo* destination, K3DPoint* polygon, uint32_t count, ImageInfo* texture,
                                    K3DVector* origin, K3DVector* axisU, K3DVector* axisV, int32_t* center,
                                    int32_t focal) {
  k3d::drawTexturePolygon(*destination, polygon, count, *texture, *origin, *axisU, *axisV, center, focal);
}
