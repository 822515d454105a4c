#include "platform/StreamSystemLog.h"
