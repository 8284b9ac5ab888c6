#include "su_stream.h"

#include <algorithm>
#include <cstring>

#include "core/su_trace.h"
#include "su_tool.h"

namespace vexmor::su {

SuReader::SuReader(int fd, std::string name)
    : fd_(fd), name_(name.empty() ? DescriptorName(fd) : std::move(name)), buffer_(size_t(1) << 20) {
  WidenPipe(fd_);
}

size_t SuReader::Fill(uint8_t* data, size_t n) {
  size_t done = 0;
  while (done < n) {
    if (begin_ == end_) {
      begin_ = 0;
      end_ = ReadFully(fd_, buffer_.data(), buffer_.size(), name_);
      if (end_ == 0) break;
    }
    const size_t take = std::min(n - done, end_ - begin_);
    std::memcpy(data + done, buffer_.data() + begin_, take);
    begin_ += take;
    done += take;
  }
  return done;
}

bool SuReader::Next() {
  if (truncated_) return false;
  trace_.resize(kTraceHeaderBytes);
  const size_t head = Fill(trace_.data(), kTraceHeaderBytes);
  if (head == 0) return false;
  ++count_;
  if (head < kTraceHeaderBytes) {
    // Without its whole header a trace has no samples to pad: nothing of it
    // goes out.
    truncated_ = true;
    Note(name_ + ": trace " + std::to_string(count_) + " is cut short in its header (" + std::to_string(head) +
         " of 240 bytes): not written; not an SU file, or a broken one");
    ns_ = 0;
    return false;
  }
  ns_ = static_cast<uint16_t>(GetLE16(trace_.data() + 114));
  const size_t body = size_t(ns_) * 4;
  trace_.resize(kTraceHeaderBytes + body);
  const size_t got = Fill(trace_.data() + kTraceHeaderBytes, body);
  if (got < body) {
    std::fill(trace_.begin() + std::ptrdiff_t(kTraceHeaderBytes + got), trace_.end(), 0);
    truncated_ = true;
    NoteCutTrace(name_, count_, int64_t(got), int64_t(body));
  }
  return true;
}

}  // namespace vexmor::su
