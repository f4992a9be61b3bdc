#ifndef PELKO_TOOL_INTERRUPT_H
#define PELKO_TOOL_INTERRUPT_H

namespace pelkotool {

/// From now on, the first Ctrl-C or termination request only sets a mark; another one, some seconds later,
/// ends the program.
void catchInterrupts();

/// Whether a request to stop has come.
bool interrupted();

}  // namespace pelkotool

#endif  // PELKO_TOOL_INTERRUPT_H
