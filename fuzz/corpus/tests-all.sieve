if anyof (allof (true, not false), exists ["X-A", "X-B"], spamtest, size :over 1K, size :under 2M, size :over 3G, void) { keep; }
