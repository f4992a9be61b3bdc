#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_OTHER_PROCESS_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_OTHER_PROCESS_H

#include <sys/types.h>

#include <functional>

namespace pelkotest {

/// A second process of the test's own, as the notification extension beside an app. It is started while the
/// test has no connection open, since those must not be carried over a fork, and is killed if it still lives
/// at the end.
class OtherProcess {
public:
    /// The side of the other process: what it hears and tells are whole numbers of the test's choice.
    class Line {
    public:
        /// Waits for a number. Ends the process when the test is gone.
        int hear();
        void tell(int number);

    private:
        friend class OtherProcess;
        Line(int in, int out) : mIn(in), mOut(out) {}
        int mIn;
        int mOut;
    };

    /// @param life  what it does; it ends when this returns, with exit code 0, or 1 when it throws
    explicit OtherProcess(const std::function<void(Line&)>& life);
    ~OtherProcess();
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    /// Waits for a number. @return -1 when the process ended without telling one
    int hear();
    void tell(int number);
    void kill();
    /// Waits for its end. @return its exit code, or -1 when it was killed
    int join();

private:
    pid_t mProcess = -1;
    int mIn = -1;
    int mOut = -1;
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_OTHER_PROCESS_H
