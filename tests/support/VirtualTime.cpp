#include "support/VirtualTime.h"

namespace pell::testing {

struct VirtualTime::Core {
  struct Item {
    std::shared_ptr<int> lane;
    Executor::Work work;
  };
  using Key = std::pair<Instant, std::uint64_t>;

  Instant now{};
  Date epoch = dateFromSeconds(1'750'000'000);
  std::uint64_t sequence = 0;
  std::map<Key, Item> items;
  std::shared_ptr<int> current;

  Key add(Seconds delay, std::shared_ptr<int> lane, Executor::Work work) {
    auto wait = delay.count() > 0 ? toNanoseconds(delay) : std::chrono::nanoseconds(0);
    Key key{now + wait, sequence++};
    items.emplace(key, Item{std::move(lane), std::move(work)});
    return key;
  }

  bool runNext(Instant limit) {
    if (items.empty() || items.begin()->first.first > limit) return false;
    auto node = items.extract(items.begin());
    now = std::max(now, node.key().first);
    auto previous = std::exchange(current, node.mapped().lane);
    node.mapped().work();
    current = previous;
    return true;
  }

  void runUntil(Instant limit) {
    while (runNext(limit)) {
    }
    now = std::max(now, limit);
  }
};

namespace {

class Lane final : public MainLoop {
 public:
  explicit Lane(std::shared_ptr<VirtualTime::Core> core) : core_(std::move(core)) {}
  ~Lane() override {
    std::erase_if(core_->items, [this](const auto& entry) { return entry.second.lane == lane_; });
  }

  void post(Work work) override { core_->add(Seconds(0), lane_, std::move(work)); }

  DelayedWork postAfter(Seconds delay, Work work) override {
    auto key = core_->add(delay, lane_, std::move(work));
    return DelayedWork([weak = std::weak_ptr(core_), key] {
      if (auto core = weak.lock()) core->items.erase(key);
    });
  }

  Instant now() const override { return core_->now; }
  bool isCurrent() const override { return core_->current == lane_; }
  void runFor(Seconds span) override { core_->runUntil(core_->now + toNanoseconds(span)); }

 private:
  std::shared_ptr<VirtualTime::Core> core_;
  std::shared_ptr<int> lane_ = std::make_shared<int>();
};

}  // namespace

VirtualTime::VirtualTime() : core_(std::make_shared<Core>()), main_(std::make_unique<Lane>(core_)) {}
VirtualTime::~VirtualTime() = default;

MainLoop& VirtualTime::main() { return *main_; }

SerialExecutorFactory VirtualTime::serialExecutors() {
  return [core = core_](std::string_view) { return std::make_unique<Lane>(core); };
}

void VirtualTime::runReady() { core_->runUntil(core_->now); }
void VirtualTime::advance(Seconds span) { core_->runUntil(core_->now + toNanoseconds(span)); }

void VirtualTime::block(Seconds span) { core_->now += toNanoseconds(span); }

bool VirtualTime::step() {
  if (core_->items.empty()) return false;
  return core_->runNext(core_->items.begin()->first.first);
}

Date VirtualTime::now() const {
  return core_->epoch + std::chrono::duration_cast<Seconds>(core_->now.time_since_epoch());
}

void VirtualTime::setDate(Date date) {
  core_->epoch = date - std::chrono::duration_cast<Seconds>(core_->now.time_since_epoch());
}

}  // namespace pell::testing
