#include "VornLogger.h"

#include <array>
#include <deque>
#include <mutex>
#include <vector>

namespace {

constexpr std::size_t kBufferSize = 600;

// Message buffers, one per living thread that ever asked for one. A deque, so
// that buffers stay where they are while others are added.
class BufferPool {
 public:
  // Never destroyed: threads may log until the process is gone.
  static BufferPool& Instance() {
    static auto* const pool = new BufferPool;  // NOLINT(*-avoid-non-const-global-variables)
    return *pool;
  }

  int Acquire() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_free.empty()) {
      m_buffers.emplace_back();
      m_free.reserve(m_buffers.size());  // so that Release cannot fail
      return static_cast<int>(m_buffers.size() - 1);
    }
    const int index = m_free.back();
    m_free.pop_back();
    return index;
  }

  void Release(int index) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_free.push_back(index);
  }

  char* At(int index) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_buffers.at(static_cast<std::size_t>(index)).data();
  }

 private:
  std::mutex m_mutex;
  std::deque<std::array<char, kBufferSize>> m_buffers;
  std::vector<int> m_free;
};

struct ThreadBuffer {
  ThreadBuffer() : index(BufferPool::Instance().Acquire()) {}
  ~ThreadBuffer() { BufferPool::Instance().Release(index); }
  ThreadBuffer(const ThreadBuffer&) = delete;
  ThreadBuffer& operator=(const ThreadBuffer&) = delete;
  const int index;
};

}  // namespace

VornLogger::VornLogger() = default;

VornLogger::~VornLogger() = default;

VornLogger* VornLogger::GetInstance() {
  static VornLogger logger;
  return &logger;
}

bool VornLogger::GetEncryptionFlag() { return m_encryptionFlag.load(std::memory_order_relaxed); }

void VornLogger::SetEncryptionFlag(bool flag) {
  m_encryptionFlag.store(flag, std::memory_order_relaxed);
}

int VornLogger::GetBufferIndex() {
  thread_local const ThreadBuffer buffer;
  return buffer.index;
}

char* VornLogger::GetBuffer(const int& index) { return BufferPool::Instance().At(index); }

std::string VornLogger::ConvertToSecureLog(std::string message) {
  static const char kDigits[] = "0123456789abcdef";
  std::string converted = "<protected " + std::to_string(message.size()) + " ";
  for (auto byte = message.rbegin(); byte != message.rend(); ++byte) {
    const unsigned value = static_cast<unsigned char>(*byte);
    converted += kDigits[value >> 4];
    converted += kDigits[value & 0xF];
  }
  converted += '>';
  return converted;
}

const char* VornLogger::GetLogTag() const { return "VORN"; }
