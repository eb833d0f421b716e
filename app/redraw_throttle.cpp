#include "app/redraw_throttle.h"

namespace brinora {

RedrawThrottle::RedrawThrottle(int redrawsPerSecond)
    : interval_(std::chrono::duration_cast<Clock::duration>(std::chrono::seconds(1)) /
                (redrawsPerSecond > 0 ? redrawsPerSecond : 1)) {}

bool RedrawThrottle::redraw(long long shown, Clock::time_point now) {
    wanted_ = shown;
    if (started_ && shown == drawn_) {
        pending_ = false;
        return false;
    }
    if (started_ && now - last_ < interval_) {
        pending_ = true;
        return false;
    }
    started_ = true;
    pending_ = false;
    drawn_ = shown;
    last_ = now;
    return true;
}

}  // namespace brinora
