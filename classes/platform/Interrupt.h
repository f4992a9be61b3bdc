#ifndef PELKO_PLATFORM_INTERRUPT_H
#define PELKO_PLATFORM_INTERRUPT_H

namespace pelkoapi {

/// From now on, the first Ctrl-C or termination request only sets a mark; another one, some seconds later,
/// ends the program.
void catchInterrupts();

/// Whether a request to stop has come.
bool interrupted();

}  // namespace pelkoapi

#endif  // PELKO_PLATFORM_INTERRUPT_H
