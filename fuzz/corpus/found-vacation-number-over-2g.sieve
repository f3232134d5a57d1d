vacation :days 3 :subject "Away" :rangeEnabled 1 :rangeStart 2894738400 :rangeEnd00 :externalMessageEnabled 1 :externalMessageSubject "AwaynownConta leave";
