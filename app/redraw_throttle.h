// When a progress indicator is redrawn during a long run: only when what it
// shows changes, and at most a few dozen times a second, so that the run is
// bounded by its calculation and not by drawing. Used by the desktop
// program's progress bar and by the command line's.
#pragma once

#include <chrono>

namespace brinora {

class RedrawThrottle {
public:
    using Clock = std::chrono::steady_clock;

    // At most `redrawsPerSecond` redraws a second.
    explicit RedrawThrottle(int redrawsPerSecond = 25);

    // Whether the indicator is to be redrawn now to show `shown` (the value
    // as the indicator shows it). True the first time, then when `shown`
    // differs from what was last drawn and the interval has passed since; a
    // true answer counts as drawn.
    bool redraw(long long shown, Clock::time_point now = Clock::now());

    // Whether a value was asked for that has not been drawn; the run's end
    // draws it with flush().
    bool pending() const { return pending_; }
    // Counts the pending value as drawn.
    void flush() { drawn_ = wanted_, pending_ = false; }
    // Forgets everything: the next value is drawn at once.
    void reset() { started_ = false, pending_ = false; }

private:
    Clock::duration interval_;
    Clock::time_point last_{};
    long long drawn_ = 0;
    long long wanted_ = 0;
    bool started_ = false;
    bool pending_ = false;
};

}  // namespace brinora
