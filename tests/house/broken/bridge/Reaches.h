#include "json/Number.h"
