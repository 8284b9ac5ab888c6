SEGYREAD tape=line1.sgy endian=1 | SEGYCLEAN >line1.su
