#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Kestor/Publisher.h"
#include "Zarn/Entity.h"
#include "Zarn/TypeData.h"

namespace {

using Kestor::Publisher;
using Kestor::Subscriber;
using Log = std::vector<std::string>;

/// Writes its name and the attribute of each change into a log, and then does what it was told to.
struct Listener {
  Listener(std::string listenerName, Log& listenerLog) : name(std::move(listenerName)), log(listenerLog) {}

  static void notify(Publisher&, Subscriber& slot, Kestor::AttributeId attribute, const void*, void*) {
    auto& self = *static_cast<Listener*>(slot.owner());
    self.log.push_back(self.name + std::to_string(attribute));
    if (self.reaction) self.reaction();
  }
  void listenTo(Publisher& publisher) { publisher.subscriberIs(slot, notify); }

  std::string name;
  Log& log;
  std::function<void()> reaction;
  Subscriber slot{this};
};

struct PublisherTest : testing::Test {
  Log log;
  Publisher publisher;
  Listener a{"a", log};
  Listener b{"b", log};
  Listener c{"c", log};

  void listen() {
    for (Listener* listener : {&a, &b, &c}) listener->listenTo(publisher);
  }
};

TEST_F(PublisherTest, TellsSubscribersInTheOrderInWhichTheySubscribed) {
  listen();
  publisher.publish(1);
  publisher.publish(2);
  EXPECT_EQ(log, (Log{"a1", "b1", "c1", "a2", "b2", "c2"}));
}

TEST_F(PublisherTest, HandsOverPublisherSlotAttributeKeyAndExtra) {
  struct Seen {
    Publisher* publisher;
    Subscriber* slot;
    Kestor::AttributeId attribute;
    const void* key;
    void* extra;
  } seen{};
  Subscriber slot(&seen);
  publisher.subscriberIs(slot, [](Publisher& p, Subscriber& s, Kestor::AttributeId id, const void* key, void* extra) {
    *static_cast<Seen*>(s.owner()) = {&p, &s, id, key, extra};
  });
  const int key = 0;
  int extra = 0;
  publisher.publish(0xffff, &key, &extra);
  EXPECT_EQ(seen.publisher, &publisher);
  EXPECT_EQ(seen.slot, &slot);
  EXPECT_EQ(seen.attribute, 0xffff);
  EXPECT_EQ(seen.key, &key);
  EXPECT_EQ(seen.extra, &extra);
}

TEST_F(PublisherTest, ASlotThatLeavesScopeHearsNothingMore) {
  listen();
  {
    Listener shortLived("s", log);
    shortLived.listenTo(publisher);
    EXPECT_TRUE(shortLived.slot.bound());
  }
  publisher.publish(1);
  EXPECT_EQ(log, (Log{"a1", "b1", "c1"}));
}

TEST_F(PublisherTest, ASlotMayBeBoundAgain) {
  a.listenTo(publisher);
  publisher.subscriberDel(a.slot);
  EXPECT_FALSE(a.slot.bound());
  publisher.subscriberDel(a.slot);
  publisher.publish(1);
  a.listenTo(publisher);
  publisher.publish(2);
  EXPECT_EQ(log, (Log{"a2"}));
}

TEST_F(PublisherTest, AnotherPublishersSlotIsLeftAlone) {
  Publisher other;
  a.listenTo(other);
  publisher.subscriberDel(a.slot);
  EXPECT_TRUE(a.slot.bound());
}

TEST_F(PublisherTest, ASlotOutlivesItsPublisher) {
  {
    Publisher shortLived;
    a.listenTo(shortLived);
  }
  EXPECT_FALSE(a.slot.bound());
}

TEST_F(PublisherTest, ASubscriberMayUnsubscribeItself) {
  listen();
  a.reaction = [this] { publisher.subscriberDel(a.slot); };
  c.reaction = [this] { publisher.subscriberDel(c.slot); };
  publisher.publish(1);
  publisher.publish(2);
  EXPECT_EQ(log, (Log{"a1", "b1", "c1", "b2"}));
}

TEST_F(PublisherTest, ASubscriberMayUnsubscribeOthersBeforeAndAfterIt) {
  listen();
  b.reaction = [this] {
    publisher.subscriberDel(a.slot);
    publisher.subscriberDel(c.slot);
  };
  publisher.publish(1);
  publisher.publish(2);
  EXPECT_EQ(log, (Log{"a1", "b1", "b2"}));
}

TEST_F(PublisherTest, ASubscriberMayUnsubscribeAll) {
  listen();
  a.reaction = [this] {
    for (Listener* listener : {&a, &b, &c}) publisher.subscriberDel(listener->slot);
  };
  publisher.publish(1);
  EXPECT_EQ(log, (Log{"a1"}));
}

TEST_F(PublisherTest, ASubscriberAddedInsideANotificationHearsOfLaterChangesOnly) {
  a.listenTo(publisher);
  c.listenTo(publisher);  // so that there is more to visit when the new one joins
  a.reaction = [this] {
    if (!b.slot.bound()) b.listenTo(publisher);
  };
  publisher.publish(1);
  EXPECT_EQ(log, (Log{"a1", "c1"}));
  publisher.publish(2);
  EXPECT_EQ(log, (Log{"a1", "c1", "a2", "c2", "b2"}));
}

TEST_F(PublisherTest, ASubscriberThatResubscribesInsideANotificationHearsOfItOnce) {
  a.listenTo(publisher);
  c.listenTo(publisher);
  a.reaction = [this] {
    publisher.subscriberDel(a.slot);
    a.listenTo(publisher);
  };
  publisher.publish(1);
  EXPECT_EQ(log, (Log{"a1", "c1"}));
}

TEST_F(PublisherTest, AChangePublishedInsideANotificationIsToldAtOnceAndToAll) {
  listen();
  b.reaction = [this] {
    if (log.back() == "b1") publisher.publish(2);
  };
  publisher.publish(1);
  EXPECT_EQ(log, (Log{"a1", "b1", "a2", "b2", "c2", "c1"}));
}

TEST_F(PublisherTest, UnsubscribingInsideANestedNotificationHoldsForTheOuterOne) {
  listen();
  a.reaction = [this] {
    if (log.back() == "a1") publisher.publish(2);
    if (log.back() == "a2") publisher.subscriberDel(b.slot);
  };
  publisher.publish(1);
  EXPECT_EQ(log, (Log{"a1", "a2", "c2", "c1"}));
}

class Owner final : public Zarn::Entity {
 public:
  Owner() : Entity("owner") {}
  const Zarn::TypeData& typeData() const noexcept override {
    static constexpr Zarn::TypeData data{"Owner", {}};
    return data;
  }
};

TEST_F(PublisherTest, TheOwnerMayBeReleasedInsideANotification) {
  auto owner = Kestor::make<Owner>();
  a.listenTo(owner->publisher());
  b.listenTo(owner->publisher());
  a.reaction = [&owner] { owner.reset(); };
  owner->publisher().publish(1);
  EXPECT_EQ(log, (Log{"a1"}));
  EXPECT_FALSE(a.slot.bound());
  EXPECT_FALSE(b.slot.bound());
}

TEST_F(PublisherTest, TheOwnerMayBeReleasedInsideANestedNotification) {
  auto owner = Kestor::make<Owner>();
  a.listenTo(owner->publisher());
  b.listenTo(owner->publisher());
  a.reaction = [&owner, this] {
    if (log.back() == "a1") owner->publisher().publish(2);
  };
  b.reaction = [&owner] { owner.reset(); };
  owner->publisher().publish(1);
  EXPECT_EQ(log, (Log{"a1", "a2", "b2"}));
}

TEST_F(PublisherTest, ARecursivePublicationReachesEachOwnerUpTheTree) {
  Publisher parent;
  Publisher child;
  parent.parentIs(&publisher);
  child.parentIs(&parent);
  a.listenTo(publisher);
  b.listenTo(parent);
  c.listenTo(child);
  child.publishRecursively(1);
  EXPECT_EQ(log, (Log{"c1", "b1", "a1"}));
  child.publish(2);
  EXPECT_EQ(log.size(), 4U);
}

TEST_F(PublisherTest, ARecursivePublicationGoesOnAfterTheChildIsGone) {
  auto child = std::make_unique<Publisher>();
  child->parentIs(&publisher);
  a.listenTo(publisher);
  c.listenTo(*child);
  c.reaction = [&child] { child.reset(); };
  child->publishRecursively(1);
  EXPECT_EQ(log, (Log{"c1", "a1"}));
}

TEST_F(PublisherTest, AnExceptionThatLeavesANotificationEndsTheProcess) {
  a.listenTo(publisher);
  a.reaction = [] { throw std::runtime_error("half told"); };
  EXPECT_DEATH(publisher.publish(1), "");
}

}  // namespace
