#pragma once

#include "common/Circle.h"
