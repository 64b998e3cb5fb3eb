#include "Outward.h"

#include "support/PathHash.h"
