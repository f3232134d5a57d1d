vacation;
vacation "text";
