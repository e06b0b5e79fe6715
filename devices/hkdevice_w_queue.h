// A device with a queue: an inbox, an outbox, and a set of partner devices
// from which alone it accepts messages.
//
// Partners: `a.ConnectTo(&b)` enters `a` in `_first` of `b` and `b` in
// `_second` of `a`; each then accepts the other as sender and destination.
// A message from or to a stranger (null included) is deleted silently.
//
// Ownership: every hand-over of a message or container is final.
// `SetMessage(s)` and `SendMessage(s)` own what they get, also when they
// refuse it. The destructor gives up the containers still in its boxes
// without deleting them.
//
// Processing: each entry point runs the processing step `_process_in_and_out`
// while it holds `_device_mutex` and its box's lock. The base step is a
// starter, not a pump: once in the life of a device it runs 99 rounds of
// `_process_inbox`, `_process_outbox` and a 1 ms sleep, and never again.
// Since those passes take the box lock that the entry point already holds,
// the base class blocks itself for good on its first delivery or posting.
// A device that moves messages therefore overrides `_process_in_and_out`
// (usually to wake a job of its own) and runs the two passes from a thread
// that holds neither box lock; `_process_inbox` with `_device_mutex` held,
// so that an inbox hook may walk the inbox while no delivery can append.
// No thread drives a device by itself; the scheduler given to the
// constructor is for subclasses that start jobs of their own.
//
// Threads: any thread may call the entry points. Lock order: `_device_mutex`
// with a box lock (taken together), then `_busy_mutex`. `RegisterFirst`
// takes this device's lock and then the partner's; the destructor reads
// its partner sets under its own lock and tells the partners after it. While forwarding,
// `_process_outbox` holds only `_outbox_mutex` and takes the destination's
// locks, so two devices that forward to each other need no lock of their
// own beyond that order; a delivery hook that posts on a partner creates
// the reverse order and must not run while that partner forwards to it.
#pragma once

#include <list>
#include <mutex>
#include <set>

#include <toviktwo/devices/hkboxmutex.h>
#include <toviktwo/devices/hkmessage.h>
#include <toviktwo/scheduler/hkgavetascheduler2.h>

class HKDevice_w_queue {
 public:
  explicit HKDevice_w_queue(HKGavetaScheduler2& scheduler);
  HKDevice_w_queue(const HKDevice_w_queue&) = delete;
  HKDevice_w_queue& operator=(const HKDevice_w_queue&) = delete;

  // ---- processing (overridable)
  // Deals with the inbox; true ends the inbox pass. The base returns false.
  virtual bool _process_inbox_hook();
  // Deals with the outbox; true ends the outbox pass. The base returns false.
  virtual bool _process_outbox_hook();
  // The processing step run by every entry point; see the paragraph above.
  virtual void _process_in_and_out();
  // Leaves every partnership; containers still queued are given up.
  virtual ~HKDevice_w_queue();

  // ---- partners
  // `other->RegisterFirst(this)`; null is ignored.
  void ConnectTo(HKDevice_w_queue* other);
  // Enters `d` in `_first` and registers this device in `_second` of `d`.
  // Null and this device itself are ignored.
  void RegisterFirst(HKDevice_w_queue* d);
  // Enters `d` in `_second`; no call back. Null and this device are ignored.
  void RegisterSecond(HKDevice_w_queue* d);
  // Erases `d` from `_first` when it is there.
  void UnregisterFirst(HKDevice_w_queue* d);
  // Erases `d` from `_second` when it is there.
  void UnregisterSecond(HKDevice_w_queue* d);

  // ---- delivery and posting
  // Delivers into the inbox when `sender` is a partner, else deletes `m`.
  // A null message only runs the processing step.
  void SetMessage(HKMessage* m, HKDevice_w_queue* sender);
  // As SetMessage for a whole container; it takes `sender` as its sender.
  void SetMessages(HKMessageContainer* c, HKDevice_w_queue* sender);
  // Posts into the outbox when `destination` is a partner, else deletes `m`.
  void SendMessage(HKMessage* m, HKDevice_w_queue* destination);
  // As SendMessage for a whole container; it gets sender and destination.
  void SendMessages(HKMessageContainer* c, HKDevice_w_queue* destination);

  // ---- passes
  // Runs the inbox hook; unless it returned true, deletes what is left in
  // the inbox. The caller must not hold `_inbox_mutex`.
  void _process_inbox();
  // Runs the outbox hook; unless it returned true, forwards each container
  // to its destination when that is still a partner, else deletes it. The
  // caller must hold neither `_outbox_mutex` nor `_device_mutex`.
  void _process_outbox();
  // True when `d` is in `_first` or `_second`; false for null.
  bool _ckeck_sender(HKDevice_w_queue* d);

 protected:
  // Runs the base processing step (the one-off burst).
  void _base_burst();

  HKGavetaScheduler2& _scheduler;
  std::recursive_mutex _device_mutex;
  std::list<HKMessageContainer*> _inbox;   // _inbox_mutex, or _device_mutex for walks
  std::list<HKMessageContainer*> _outbox;  // _outbox_mutex
  std::set<HKDevice_w_queue*> _first;      // _device_mutex: devices that registered with this one
  std::set<HKDevice_w_queue*> _second;     // _device_mutex: devices this one registered with
  HKBoxMutex _inbox_mutex;
  HKBoxMutex _outbox_mutex;
  std::mutex _busy_mutex;
  bool _busy = false;  // _busy_mutex; set by the first burst, never cleared
};
