#include "webview/Outcome.h"
