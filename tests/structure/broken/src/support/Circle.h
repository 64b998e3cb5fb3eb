#pragma once

#include "support/CircleBack.h"
