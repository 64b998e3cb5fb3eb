#pragma once

#include "common/CircleBack.h"
