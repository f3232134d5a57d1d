require "fileinto";
fileinto "x";
