// The Sieve engine core in one include: model, reader, writer.
#pragma once

#include "sieve/SieveModel.h"
#include "sieve/SieveParser.h"
#include "sieve/SieveWriter.h"
