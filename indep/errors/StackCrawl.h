// The call stack in the log.

#ifndef INDEP_ERRORS_STACK_CRAWL_H
#define INDEP_ERRORS_STACK_CRAWL_H

// Logs the calling thread's stack, a line a frame. Whatever fails on the way is
// passed over.
void LogStackCrawl();

#endif
