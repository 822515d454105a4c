#include "platform/JSMsgRouter.h"
