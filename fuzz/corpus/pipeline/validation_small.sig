A P10001 NA Protein Cytosol B P20001 NA Protein Nucleus + phosphorylation 1001
B P20001 NA Protein Nucleus A P10001 NA Protein Cytosol _ binding 1002
C P30001 NA Protein Cytosol C P30001 NA Protein Cytosol + NA 1003
A P10002 NA Protein Cytosol D P40001 NA Protein Cytosol + NA 1004
A P10001 NA Protein Cytosol B P20001 NA Protein Nucleus _ phosphorylation 1005
A P10001 NA Protein Cytosol B P20001 NA Protein Nucleus _ phosphorylation 1006
A P10001 NA Protein Cytosol B P20001 NA Protein Nucleus + binding 1007
E P50001 X1 Receptor Membrane E P50001 X2 Receptor Membrane 0 NA 1008
