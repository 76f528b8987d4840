#pragma once

// How a piece of work that runs on its own (a worker thread, an addition, a walk into a
// queue) ended. A Finished WorkerEvent carries it, an addition's job reports it, and a
// scan queue keeps the end of its walk as one. The values are what a Finished event has
// always carried in its parameter.
enum class WorkOutcome { Succeeded = 0, Failed = 1, Cancelled = 2 };
