#pragma once

#include "sample/CityLayout.h"

namespace mvgeo::sample
{
/** Builds on a block what its use asks for. */
void fillBlock(const Block& block, const CityPlan& plan, CityObjects& objects);
} // namespace mvgeo::sample
