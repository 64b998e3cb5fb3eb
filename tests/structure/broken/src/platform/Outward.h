#pragma once

#include <KdString.h>
