redirect "a@x"; keep; redirect "b@x, c@x;d@x e@x";
