#include "webview/VEMOKOBUMsgRouter.h"
