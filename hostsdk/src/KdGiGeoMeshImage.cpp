#include "KdGiGeoMeshImage.h"

KdGiGeoMeshImage::~KdGiGeoMeshImage() = default;
