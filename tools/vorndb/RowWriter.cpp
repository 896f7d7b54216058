#include "RowWriter.h"

#include <iostream>

#include "DatabaseFile.h"
#include "Errors.h"

namespace vorndb {

RowWriter::RowWriter(const Arguments& arguments, std::uintmax_t total)
    : m_upsert(arguments),
      m_progress(total, !arguments.sql && !arguments.verbose && !arguments.quiet),
      m_watch([this] { Interrupt(); }) {
  if (arguments.noSync) {
    StopSyncs();
  }
}

void RowWriter::Write(const Pairs& values, std::uintmax_t done, const std::string& next) {
  const auto lock = m_watch.Lock();
  m_upsert.values = values;
  Upsert(m_upsert);
  m_next = next;
  m_progress.Show(done, ++m_count);
}

std::string RowWriter::Written(const std::string& next) const {
  return m_upsert.sql ? "" : "; rows before it that are written: " + std::to_string(m_count) + next;
}

std::string RowWriter::End() {
  m_progress.Wipe();
  try {
    if (m_upsert.noSync && !m_upsert.sql) {
      Sync(m_upsert.file);
    }
    return "";
  } catch (const Failure& failure) {
    return failure.what();
  }
}

void RowWriter::Interrupt() {
  const std::string problem = End();
  Tell("interrupted" + Written(m_next) + (problem.empty() ? "" : "; " + problem));
}

// A failed sync fails the command, since the rows are not durable.
void RowWriter::Finish() {
  const auto lock = m_watch.Lock();
  const std::string problem = End();
  FailIf(!problem.empty(), problem);
  if (!m_upsert.sql && !m_upsert.quiet) {
    std::cout << Counted(m_count, "row") << " written to " << m_upsert.table << '\n';
  }
}

void RowWriter::Fail(const std::string& failure, const std::string& next) {
  const std::string problem = [this] {
    const auto lock = m_watch.Lock();
    return End();
  }();
  throw Failure(failure + Written(next) + (problem.empty() ? "" : "; " + problem));
}

}  // namespace vorndb
