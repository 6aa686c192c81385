#pragma once

// Answers the feed requests to the watchdog's driver while it lives, in the driver's place.
class FeedRequests {
  public:
    explicit FeedRequests(int result);
    ~FeedRequests();
    FeedRequests(const FeedRequests&) = delete;
    FeedRequests& operator=(const FeedRequests&) = delete;

    static int count();
    // Of them, how many had an argument.
    static int countWithArgument();
};
