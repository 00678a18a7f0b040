#include "hive/cell_map.h"

#include <cstdlib>

namespace vtclass::hive {
namespace {

constexpr std::size_t kBinHeaderBytes = 32;
constexpr std::size_t kSizeBytes = 4;
constexpr unsigned char kBinSignature[] = {'h', 'b', 'i', 'n'};

// The size of the bin that begins there; 0 when none does.
std::size_t BinSize(Bytes bins, std::size_t at) {
  if (std::memcmp(bins.data() + at, kBinSignature, sizeof kBinSignature) != 0) return 0;
  if (Load<std::uint32_t>(bins, at + 4) != at) return 0;
  const std::size_t size = Load<std::uint32_t>(bins, at + 8);
  return size % kPageBytes == 0 && size <= bins.size() - at ? size : 0;
}

}  // namespace

CellMap::CellMap(Bytes allBins, const ReportProblem& report)
    : bins(allBins), states(allBins.size() / kCellStep) {
  bool wasReadable = true;
  for (std::size_t at = 0; at < bins.size();) {
    const std::size_t size = ReadBin(at, report);
    if (size == 0 && wasReadable) {
      report({Severity::error, kBaseBlockBytes + at, "The page", "does not begin a bin"});
    }
    wasReadable = size != 0;
    at += size != 0 ? size : kPageBytes;
  }
}

// Its size; 0 when no bin begins there.
std::size_t CellMap::ReadBin(std::size_t at, const ReportProblem& report) {
  const std::size_t binSize = BinSize(bins, at);
  const std::size_t end = at + binSize;
  for (std::size_t cell = at + kBinHeaderBytes; cell < end;) {
    const auto stored = Load<std::int32_t>(bins, cell);
    const auto size = static_cast<std::size_t>(std::llabs(stored));
    if (size == 0 || size % kCellStep != 0 || size > end - cell) {
      report({Severity::error, kBaseBlockBytes + cell, "The cell", "has a size that cannot be"});
      break;
    }
    states[cell / kCellStep] = stored < 0 ? State::inUse : State::free;
    cell += size;
  }
  return binSize;
}

CellMap::State* CellMap::Find(std::uint32_t offset, const char*& fault) {
  if (offset >= bins.size()) {
    fault = "lies beyond the bins";
    return nullptr;
  }
  State& state = states[offset / kCellStep];
  if (offset % kCellStep != 0 || state == State::noCell) {
    fault = "lies where no cell begins";
    return nullptr;
  }
  if (state == State::free) {
    fault = "lies in a cell that is free";
    return nullptr;
  }
  return &state;
}

Bytes CellMap::Content(std::size_t offset) const {
  const auto size = static_cast<std::size_t>(-std::int64_t{Load<std::int32_t>(bins, offset)});
  return bins.subspan(offset + kSizeBytes, size - kSizeBytes);
}

Bytes CellMap::Take(std::uint32_t offset, const char*& fault) {
  State* const state = Find(offset, fault);
  if (!state) return {};
  if (*state != State::inUse) {
    fault = "lies in a cell that belongs to something else";
    return {};
  }
  *state = State::taken;
  return Content(offset);
}

Bytes CellMap::Share(std::uint32_t offset, const char*& fault, bool& isFirst) {
  State* const state = Find(offset, fault);
  if (!state) return {};
  if (*state == State::taken) {
    fault = "lies in a cell that belongs to something else";
    return {};
  }
  isFirst = *state == State::inUse;
  *state = State::shared;
  return Content(offset);
}

Bytes CellMap::Look(std::uint32_t offset) const {
  if (offset >= bins.size() || offset % kCellStep != 0) return {};
  const State state = states[offset / kCellStep];
  return state == State::noCell || state == State::free ? Bytes() : Content(offset);
}

}  // namespace vtclass::hive
