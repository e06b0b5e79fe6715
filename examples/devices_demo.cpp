// A simulated driver behind the driver connector, on the console.
//
// The driver "simulator" serves two variables: "sensor", which follows a
// slow sine around the set-point, with noise, and "setpoint". The console
// device subscribes to both through the connector and prints each change;
// the driver subscribes to "setpoint" too, so a value written to the
// connector reaches it. Type a number to change the set-point; "quit", the
// end of input or one minute ends the demo. The main loop drives every
// device by hand, ten times a second.
#include <poll.h>
#include <unistd.h>

#include <cmath>
#include <iostream>
#include <random>
#include <string>

#include <toviktwo/toviktwo.h>

using Double = HKValueChangeMessageOf<HK_DOUBLE>;

// A device driven by the main loop: the processing step does nothing, and
// Pump() runs one inbox pass (under the device lock) and one outbox pass.
template <class Base>
struct HandDriven : Base {
  using Base::Base;
  void _process_in_and_out() override {}
  void Pump() {
    {
      std::lock_guard<std::recursive_mutex> guard(this->_device_mutex);
      this->_process_inbox();
    }
    this->_process_outbox();
  }
};

// The driver: learns its variables' numbers, publishes its set-point when
// asked for it, sends the sensor value and takes set-point writes.
struct Simulator : HandDriven<HKDevice_w_queue> {
  using HandDriven::HandDriven;
  bool _process_inbox_hook() override {
    for (HKMessageContainer* c : _inbox) {
      for (HKMessage* m : c->Messages()) {
        if (auto* connect = dynamic_cast<HKDriverConnectMessage*>(m)) {
          refs[connect->_address1] = connect->_refID;
          if (connect->_address1 == "setpoint") SendMessage(new Double(connect->_refID, setpoint), connector);
        }
        auto* value = dynamic_cast<Double*>(m);
        if (value != nullptr && value->GetRefID() == refs["setpoint"]) setpoint = value->GetValue();
      }
    }
    return false;  // the base pass deletes what was read
  }
  void Tick(double seconds) {
    const double sensor = setpoint + 2.0 * std::sin(seconds * 2.0 * M_PI / 20.0) + noise(random);
    if (refs.count("sensor")) SendMessage(new Double(refs["sensor"], sensor), connector);
  }
  HKDevice_w_queue* connector = nullptr;
  std::map<std::string, std::string> refs;  // address -> number
  double setpoint = 21.0;
  std::mt19937 random{7};
  std::normal_distribution<double> noise{0.0, 0.1};
};

// The console: prints what arrives.
struct Console : HandDriven<HKDevice_w_queue> {
  using HandDriven::HandDriven;
  bool _process_inbox_hook() override {
    for (HKMessageContainer* c : _inbox) {
      for (HKMessage* m : c->Messages()) {
        if (auto* value = dynamic_cast<Double*>(m))
          std::cout << names[m->GetRefID()] << " " << value->GetValue() << "\n";
      }
    }
    return false;
  }
  std::map<std::string, std::string> names;  // number -> address
};

int main() {
  HKGavetaScheduler2 scheduler;  // given to the devices; no job runs here
  HandDriven<HKDriverConnector> connector(scheduler);
  Simulator simulator(scheduler);
  Console console(scheduler);
  connector.ConnectDriver("simulator", &simulator);
  simulator.connector = &connector;
  console.ConnectTo(&connector);
  auto pumpAll = [&] {
    for (int round = 0; round < 3; ++round) {  // driver -> connector -> subscribers
      simulator.Pump();
      connector.Pump();
      console.Pump();
    }
  };

  // The driver subscribes to its set-point first and publishes it; the
  // console, coming later, starts with the published value and state.
  HKVarConfigAddress sensor("sensor", "", 0, "simulator", HK_DOUBLE);
  HKVarConfigAddress setpoint("setpoint", "", 0, "simulator", HK_DOUBLE);
  const std::string setpointRef = std::to_string(connector.InsertDynamicVariable(&setpoint, &simulator));
  pumpAll();
  console.names[setpointRef] = "setpoint";
  console.names[std::to_string(connector.InsertDynamicVariable(&sensor, &console))] = "sensor";
  connector.InsertDynamicVariable(&setpoint, &console);

  std::cout << "type a number to change the set-point, quit to stop" << std::endl;
  for (int tick = 0; tick < 600; ++tick) {  // one minute at most
    pollfd in{STDIN_FILENO, POLLIN, 0};
    if (poll(&in, 1, 100) > 0) {
      std::string word;
      if (!(std::cin >> word) || word == "quit") break;
      try {
        console.SendMessage(new Double(setpointRef, std::stod(word)), &connector);
      } catch (const std::exception&) {
        std::cout << "not a number: " << word << std::endl;
      }
    }
    if (tick % 10 == 0) simulator.Tick(tick / 10.0);
    pumpAll();
    std::cout << std::flush;
  }
  std::cout << "stopped" << std::endl;
}
