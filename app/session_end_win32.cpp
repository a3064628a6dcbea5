#include "session_end.h"

// Windows ends a session through window messages, which reach the window as a close: its exit.
void ExitWhenSessionEnds(QObject*, std::function<void()>) {}
