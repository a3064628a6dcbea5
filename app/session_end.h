#pragma once

#include <functional>

class QObject;

// When the session ends or the user interrupts the program from a terminal, leave as File, Exit
// does: ports closed, configuration saved. The exit runs on the event loop, owned by owner.
void ExitWhenSessionEnds(QObject* owner, std::function<void()> exit);
