#  include "webview/Outcome.h"
