/// @file
/// Desktop stub of the platform's system log.

#ifndef VORN_PLATFORM_DLOG_H
#define VORN_PLATFORM_DLOG_H

#ifdef __cplusplus
extern "C" {
#endif

/// Writes one line to standard error, with a single write so that the lines of
/// several threads and processes do not mix (on a pipe, up to `PIPE_BUF` bytes):
///
///     E VORN 4711 4712 Database.cpp: OpenDB(42) > …
///
/// that is the priority's letter, the tag, the process, the thread and the
/// message, each behind a blank.
///
/// The environment variable `VORN_DLOG_PRIORITY` holds the lowest priority that
/// is written: one of the letters V D I W E F, or S for silence. It is read once,
/// at the first line. Unset, every line is written; with any other value, too,
/// after one line that says so.
///
/// @param log_id the log buffer; the stub has only one and ignores it.
/// @param priority 2 verbose, 3 debug, 4 info, 5 warning, 6 error, 7 fatal.
/// @param tag NUL-terminated tag of the writer; null is written as "-".
/// @param format printf format of the message, with its arguments.
/// @return the number of bytes written, 0 for a line below the lowest priority,
///         negative when the message could not be formatted or written. `errno`
///         is left as it was.
int __dlog_print(int log_id, int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif

#endif  // VORN_PLATFORM_DLOG_H
