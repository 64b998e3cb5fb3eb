#pragma once

#include "library/ModelFactory.h"
#include "nowhere/Nothing.h"
#include "platform/CodePage.h"

#include <ktx.h>
