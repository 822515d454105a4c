#include "engine/Clock.h"
