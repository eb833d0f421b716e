#include "output/output_start.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace brinora {

OutputStartCheck examineOutputStart(int fd, std::string_view header) {
    std::string start(header.size() + 1, '\0');
    std::size_t have = 0;
    while (have < start.size()) {
        const ssize_t got = ::pread(fd, start.data() + have, start.size() - have, static_cast<off_t>(have));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return {OutputStart::kUnreadable, errno};
        if (got == 0) break;
        have += static_cast<std::size_t>(got);
    }
    if (have < header.size() || std::string_view(start).substr(0, header.size()) != header) {
        return {OutputStart::kOtherContent, 0};
    }
    return {have > header.size() ? OutputStart::kHoldsRecords : OutputStart::kHeaderOnly, 0};
}

OutputStartCheck examineOutputFile(const std::string& path, std::string_view header) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return {OutputStart::kUnreadable, errno};
    const OutputStartCheck check = examineOutputStart(fd, header);
    ::close(fd);
    return check;
}

}  // namespace brinora
