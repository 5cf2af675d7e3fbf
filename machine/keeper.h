// The keeper: a small process between the daemon and one program of the machine.
//
// It is the subreaper of the program, so that whatever the program starts stays below it, and it ends all of them when
// the daemon tells it to, or has gone. It talks over one socket:
//   daemon to keeper: {"program","arguments","environment","directory","belowNormal","output","errorOutput"}; the
//                     arguments begin with what the program is called, the environment is a list of all "NAME=value" or
//                     an object of changes to the keeper's own; then {"go"}; later {"end"}
//   keeper to daemon: {"child":pid}, then {"failed":errno} or {"running"}; then {"exited":code} or {"signalled":number}
// and goes, closing the socket, when nothing is left below it. The child does not run the program before "go", which
// the daemon sends once it has entered the child in the process table.
#pragma once

namespace machine {

// The descriptor of the socket in a keeper.
inline constexpr int kKeeperSocket = 3;

// The keeper's whole life; the caller has no other thread. Returns its exit code.
int RunKeeper();

}  // namespace machine
