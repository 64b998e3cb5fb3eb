#pragma once

#include "library/ModelFactory.h"
#include "nowhere/Nothing.h"
#include "platform/Environment.h"

#include <ktx.h>
