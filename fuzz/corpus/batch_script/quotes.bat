@echo off
rem x
SEGDREAD tape="my file.sgd" >"out put.su"
exit
