#pragma once

// The content tree: genres, their instrument libraries, claves, grooves.
#include "Generator/library/CGenGenreLib.h"
#include "Generator/library/CGenInstLib.h"
