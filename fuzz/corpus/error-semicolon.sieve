keep
