#include "PowerLoss.h"

#include <algorithm>

namespace power_loss {

namespace {

using Arrival = std::vector<Extent>;
using Span = SimulatedDisk::Span;
using Growth = PowerLoss::Growth;

constexpr std::size_t kSector = 512;

Arrival Lost(const Span& /*span*/) { return {}; }

Arrival Whole(const Span& span) { return {{0, span.size}}; }

std::vector<Arrival> All(const std::vector<Span>& spans, Arrival (*fate)(const Span&)) {
  std::vector<Arrival> arrivals(spans.size());
  std::transform(spans.begin(), spans.end(), arrivals.begin(), fate);
  return arrivals;
}

std::size_t Below(std::size_t limit, std::mt19937& random) {
  return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
}

// Each sector, as they are counted in the file, arrives or doesn't.
Arrival SomeSectors(const Span& span, std::mt19937& random) {
  Arrival arrival;
  std::size_t begin = 0;
  while (begin < span.size) {
    const std::size_t rest = kSector - (span.offset + begin) % kSector;
    const std::size_t end = std::min(begin + rest, span.size);
    if (Below(2, random) == 0) {
      arrival.push_back({begin, end});
    }
    begin = end;
  }
  return arrival;
}

Arrival RandomFate(const Span& span, std::mt19937& random) {
  const std::size_t cut = Below(span.size, random);
  switch (Below(5, random)) {
    case 0:
      return Lost(span);
    case 1:
      return Whole(span);
    case 2:
      return {{0, cut}};
    case 3:
      return {{cut, span.size}};
    default:
      return SomeSectors(span, random);
  }
}

}  // namespace

PowerLoss WithAllChanges(const SimulatedDisk& disk, std::size_t directoryChanges) {
  return {directoryChanges, All(disk.Pending(directoryChanges), Whole), Growth::kNothing};
}

std::vector<PowerLoss> Plain(const SimulatedDisk& disk, std::size_t directoryChanges) {
  const std::vector<Span> pending = disk.Pending(directoryChanges);
  return {{directoryChanges, All(pending, Lost), Growth::kNothing},
          {directoryChanges, All(pending, Lost), Growth::kZeros},
          {directoryChanges, All(pending, Lost), Growth::kGarbage},
          WithAllChanges(disk, directoryChanges)};
}

std::vector<PowerLoss> OfEachChange(const SimulatedDisk& disk, std::size_t directoryChanges) {
  const std::vector<Span> pending = disk.Pending(directoryChanges);
  std::vector<PowerLoss> losses;
  for (std::size_t index = 0; index < pending.size(); ++index) {
    const auto add = [&](std::vector<Arrival> arrivals, Arrival fate, Growth growth) {
      arrivals[index] = std::move(fate);
      losses.push_back({directoryChanges, std::move(arrivals), growth});
    };
    const Span& span = pending[index];
    const std::size_t middle = span.size / 2;
    add(All(pending, Lost), Whole(span), Growth::kNothing);
    add(All(pending, Whole), Lost(span), Growth::kGarbage);
    add(All(pending, Lost), {{0, middle}}, Growth::kGarbage);
    add(All(pending, Whole), {{0, middle}}, Growth::kZeros);
    add(All(pending, Whole), {{middle, span.size}}, Growth::kNothing);
  }
  return losses;
}

PowerLoss Random(const SimulatedDisk& disk, std::size_t directoryChanges, std::mt19937& random) {
  std::vector<Arrival> arrivals;
  for (const Span& span : disk.Pending(directoryChanges)) {
    arrivals.push_back(RandomFate(span, random));
  }
  constexpr Growth kGrowths[] = {Growth::kNothing, Growth::kZeros, Growth::kGarbage};
  return {directoryChanges, std::move(arrivals), kGrowths[Below(3, random)]};
}

}  // namespace power_loss
