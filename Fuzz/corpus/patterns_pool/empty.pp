22 serialization::archive 18 0 0 0 0 0 7
