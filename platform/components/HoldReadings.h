#pragma once

#include <boost/shared_ptr.hpp>

namespace Lumenar {

/// Holds back the publications of all readings of the process: results are stored but not published; when the last hold
/// ends, the newest value of each reading that was assigned meanwhile is published, in order of first assignment.
/// Threads   any.
class HoldReadings {
 public:
  /// The object of the process; it lives as long as somebody shares it.
  static boost::shared_ptr<HoldReadings> CreateInstance();

  ~HoldReadings();
  HoldReadings(const HoldReadings&) = delete;
  HoldReadings& operator=(const HoldReadings&) = delete;

  /// Holds nest.
  void Hold();
  void Release();
  bool IsHolding() const;

  /// A hold for the length of a block.
  class Block {
   public:
    Block() : hold_(CreateInstance()) { hold_->Hold(); }
    ~Block() { hold_->Release(); }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;

   private:
    boost::shared_ptr<HoldReadings> hold_;
  };

 private:
  friend class HeldPublication;
  HoldReadings();
  struct Impl;
  boost::shared_ptr<Impl> impl_;
};

}  // namespace Lumenar
