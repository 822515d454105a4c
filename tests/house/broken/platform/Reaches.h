#include "simulation/Clock.h"
