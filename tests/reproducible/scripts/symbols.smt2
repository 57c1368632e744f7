; Names that need bars, and constants that no clause mentions.
(set-logic QF_BV)
(declare-const |a name with spaces| (_ BitVec 3))
(declare-fun |p q| () Bool)
(declare-const unused (_ BitVec 4))
(assert (=> |p q| (= |a name with spaces| #b101)))
(assert |p q|)
(check-sat)
