#include NAMED
