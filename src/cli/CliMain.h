#pragma once

#include <functional>
#include <memory>

class DriveSystem;

using DriveSystemFactory = std::function<std::shared_ptr<DriveSystem>()>;

/// The whole of shelfwise-cli: parses the arguments, runs the command and returns the
/// exit status. Commands reach disc drives through the system that drives makes.
int RunShelfwiseCli(int argc, char** argv, const DriveSystemFactory& drives);
