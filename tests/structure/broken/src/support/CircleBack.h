#pragma once

#include "support/Circle.h"
