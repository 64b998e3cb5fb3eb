#include "CommonHeaders.h"
