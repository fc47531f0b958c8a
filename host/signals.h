#pragma once

#include "platform/common/descriptor.h"

#include <csignal>

namespace console {

/** Hears SIGINT, SIGTERM and SIGHUP, each of which asks this command to end, and the ends of its children. While it
   lives none of them interrupts anything, and none that comes is lost: it waits until somebody looks. One that was
   ignored when this process was started stays so, as nohup means it. For a process with one thread. */
class Signals {
  public:
    Signals();
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    /** Whether the end has been asked for so far. A loop calls it before it looks after its children, and waits then:
       who ends in between is not missed. */
    bool asked();

    /** Returns when a signal comes, when a child ends, when `other` can be read (-1: none), or after so many
       milliseconds (-1: no limit); now and then for no reason. */
    void wait(int milliseconds, int other = -1);

  private:
    sigset_t m_before{};
    platform::Descriptor m_signals;
    bool m_asked = false;
};

/** In a child, before it runs a program: no signal is blocked, and SIGTERM ends it unless it wants otherwise. */
void let_signals_in();

} // namespace console
