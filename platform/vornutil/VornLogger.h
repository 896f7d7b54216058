/// @file
/// Desktop stub of the utility library's logger.

#ifndef VORN_PLATFORM_VORNLOGGER_H
#define VORN_PLATFORM_VORNLOGGER_H

#include <atomic>
#include <string>

/// Decides whether messages are converted into a protected form before they are
/// printed, converts them, and supplies the log tag.
///
/// The stub converts only after a call of `SetEncryptionFlag`. All
/// members may be called from any thread.
class VornLogger {
 public:
  /// The logger of the process. Never null; lives until the process ends.
  static VornLogger* GetInstance();

  /// True when messages are to be converted before they are printed.
  bool GetEncryptionFlag();

  /// Turns the conversion on or off. A member of the stub only, for tests
  /// and for a look at protected logs on a desktop.
  void SetEncryptionFlag(bool flag);

  /// The index of the calling thread's message buffer. A thread keeps its buffer
  /// until it ends; then another thread may get it.
  int GetBufferIndex();

  /// The buffer of that index, 600 bytes long; it stays the logger's.
  /// @throws std::out_of_range for an index that `GetBufferIndex` never gave.
  static char* GetBuffer(const int& index);

  /// The protected form of a message: the word "protected", the message's length
  /// and its bytes in hexadecimal, in reverse order, between angle brackets. It
  /// hides nothing from anyone who knows the rule; it only shows where a device
  /// would.
  std::string ConvertToSecureLog(std::string message);

  /// The tag of every line, "VORN".
  const char* GetLogTag() const;

  VornLogger(const VornLogger&) = delete;
  VornLogger& operator=(const VornLogger&) = delete;

 private:
  VornLogger();
  ~VornLogger();

  std::atomic<bool> m_encryptionFlag{false};
};

#endif  // VORN_PLATFORM_VORNLOGGER_H
