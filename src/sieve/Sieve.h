// The Sieve engine core in one include: model (Part 1.1), reader (Part 1.2), writer (Part 1.3).
#pragma once

#include "sieve/SieveModel.h"
#include "sieve/SieveParser.h"
#include "sieve/SieveWriter.h"
