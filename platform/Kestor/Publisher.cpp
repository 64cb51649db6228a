#include "Kestor/Publisher.h"

namespace Kestor {

Subscriber::~Subscriber() {
  if (publisher_ != nullptr) publisher_->subscriberDel(*this);
}

Publisher::~Publisher() {
  for (Visit* visit = visits_; visit != nullptr; visit = visit->outer) visit->publisherGone = true;
  subscribers_.clear_and_dispose([](Subscriber* subscriber) { subscriber->publisher_ = nullptr; });
}

void Publisher::subscriberIs(Subscriber& subscriber, Notification notification) noexcept {
  subscriber.publisher_ = this;
  subscriber.notification_ = notification;
  subscriber.since_ = publications_;
  subscribers_.push_back(subscriber);
}

void Publisher::subscriberDel(Subscriber& subscriber) noexcept {
  if (subscriber.publisher_ != this) return;
  const auto position = subscribers_.iterator_to(subscriber);
  for (Visit* visit = visits_; visit != nullptr; visit = visit->outer) {
    if (visit->next == position) ++visit->next;
  }
  subscribers_.erase(position);
  subscriber.publisher_ = nullptr;
}

void Publisher::publish(AttributeId attribute, const void* key, void* extra) noexcept {
  const std::uint64_t number = ++publications_;
  Visit visit{subscribers_.begin(), false, visits_};
  visits_ = &visit;
  while (visit.next != subscribers_.end()) {
    Subscriber& subscriber = *visit.next++;
    if (subscriber.since_ >= number) continue;
    subscriber.notification_(*this, subscriber, attribute, key, extra);
    if (visit.publisherGone) return;
  }
  visits_ = visit.outer;
}

void Publisher::publishRecursively(AttributeId attribute, const void* key, void* extra) noexcept {
  Publisher* const parent = parent_;
  publish(attribute, key, extra);
  if (parent != nullptr) parent->publishRecursively(attribute, key, extra);
}

}  // namespace Kestor
